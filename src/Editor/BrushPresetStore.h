// The brushes of the user: presets in the user's order and tips made of pictures, kept in a folder
// of the user's data. Presets lie in one file, written as a whole in the background after each
// change; each tip lies in a file of its own, a PGM picture that is light where it paints. A
// file that cannot be read is kept beside its name with ".damaged" added, and a warning is logged.
// The built-in brushes come first and cannot be changed. Main thread.
#pragma once

#include "Base/Executor.h"
#include "Base/FileError.h"
#include "Base/Observable.h"
#include "Base/Strand.h"
#include "Tools/BrushSettings.h"

#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ombrel {

class BrushPresetStore {
public:
    struct TipName {
        Uuid id;
        std::string name;
        bool operator==(const TipName&) const = default;
    };

    /// Reads what the folder holds; it is made when something is to be written. `main` outlives
    /// what the store wrote.
    BrushPresetStore(std::filesystem::path folder, Executor& main);
    /// Waits until everything is written.
    ~BrushPresetStore();
    BrushPresetStore(const BrushPresetStore&) = delete;
    BrushPresetStore& operator=(const BrushPresetStore&) = delete;

    ObservableOf<BrushPresetStore, std::vector<BrushPreset>> _userPresets;
    ObservableOf<BrushPresetStore, std::vector<TipName>> _userTips;
    /// Why the last change could not be saved, in words; empty while all is well.
    ObservableOf<BrushPresetStore, std::string> _problem;

    std::vector<BrushPreset> presets() const; ///< built-in ones first
    std::optional<BrushPreset> find(const Uuid& id) const;
    static bool isBuiltIn(const Uuid& id);

    /// Puts it last, with an id of its own. The name is trimmed; an empty one becomes "Brush", and
    /// one that is taken gets a number.
    Uuid add(BrushPreset preset);
    void rename(const Uuid& id, std::string name);
    /// Keeps id and name. Nothing happens to a brush that is not the user's.
    void replace(const Uuid& id, const BrushPreset& with);
    void remove(const Uuid& id);
    /// To a place among the user's own, 0 for the first.
    void move(const Uuid& id, std::size_t to);

    /// Of the built-in and of the user's; null where there is none, or it cannot be read.
    SharedBrushTip tip(const Uuid& id);
    /// Keeps a tip; one that paints the same and is there already is taken instead.
    SharedBrushTip addTip(BrushTipImage image, std::string name);

    /// Waits until everything is written, and says whether that went well. Not from a pool thread.
    std::expected<void, FileError> flush();

private:
    struct Writer;

    void read();
    void save();
    std::string listText() const;
    std::filesystem::path tipFile(const Uuid& id) const;
    std::string freeName(std::string name, const Uuid& owner) const;
    template <typename Change>
    void changePreset(const Uuid& id, Change&& change);

    const std::filesystem::path folder_;
    std::map<Uuid, SharedBrushTip> loadedTips_; ///< the user's; null for damaged ones
    std::set<Uuid> unsavedTips_;                ///< no file holds them yet
    const std::unique_ptr<Writer> writer_;
};

} // namespace ombrel
