// The user's swatches, in named sets: one file in the data folder, read once and written in the
// background after each change, atomically. A file that cannot be read is kept beside its name with
// ".damaged" added, and the colours that come with the program are there instead. Main thread only.
#pragma once

#include "Base/FileError.h"
#include "Base/Json.h"
#include "Base/Signal.h"
#include "Base/Strand.h"
#include "IO/Swatches.h"

#include <expected>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ombrel {

class SwatchLibrary {
public:
    /// The user's own. Never destroyed: the program calls finish() before it ends.
    static SwatchLibrary& shared();

    explicit SwatchLibrary(std::filesystem::path file);
    ~SwatchLibrary(); ///< finishes

    /// At least one, each with a name of its own.
    const std::vector<SwatchSet>& sets() const { return sets_; }
    /// Sets without a name, or with one that an earlier set has, get another.
    void setSets(std::vector<SwatchSet> sets);
    Connection onChange(std::function<void()> callback) {
        return changed_.connect(std::move(callback));
    }

    /// Waits until all is written.
    void finish() { writer_.drain(); }

private:
    void write();

    const std::filesystem::path file_;
    std::vector<SwatchSet> sets_;
    Signal<> changed_;
    Strand writer_{"Swatches", TaskPriority::utility};
};

/// "Name 2" and so on, unlike all that are there.
std::string freeSetName(std::span<const SwatchSet> sets, const std::string& wanted);

Json jsonOf(std::span<const SwatchSet> sets);
std::expected<std::vector<SwatchSet>, JsonError> swatchSetsOf(const Json& json);

} // namespace ombrel
