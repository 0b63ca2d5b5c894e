#include "Editor/BrushPresetStore.h"

#include "Base/AtomicFile.h"
#include "Base/JsonFile.h"
#include "Base/Log.h"
#include "Base/XdgFolders.h"
#include "Editor/BrushTipFile.h"
#include "Tools/BrushForms.h"
#include "Tools/BuiltInBrushes.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>
#include <utility>

namespace ombrel {

namespace {

constexpr std::size_t longestName = 200; ///< bytes
constexpr std::string_view fileName = "brushes.json";

/// The elements of a list of an object; none where it is no list.
Json listIn(const Json& json, const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_array() ? *found : Json::array();
}

std::string trimmedName(std::string name) {
    constexpr std::string_view spaces = " \t\r\n";
    name.erase(0, std::min(name.find_first_not_of(spaces), name.size()));
    name.erase(name.find_last_not_of(spaces) + 1);
    if (name.size() > longestName) {
        std::size_t end = longestName;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
            --end; // whole characters
        name.erase(end);
    }
    return name.empty() ? "Brush" : name;
}

auto placeOf(auto& list, const Uuid& id) {
    return std::ranges::find(list, id, [](const auto& each) { return each.id; });
}

} // namespace

/// Writes what has changed, one change after another, and tells how it went.
struct BrushPresetStore::Writer {
    struct File {
        std::filesystem::path path;
        std::string text;
    };
    using Written = std::expected<void, FileError>;
    using Tell = std::function<void(const Written&)>;

    explicit Writer(Executor& home) : main(home) {}

    /// `tell` is called on the main thread, while there is a store.
    void write(std::vector<File> files, Tell tell) {
        strand.post([this, files = std::move(files), tell = std::move(tell)]() mutable {
            result = {};
            for (const File& file : files) {
                result = createPrivateFolder(file.path.parent_path());
                if (result) result = writeFileAtomically(file.path, file.text);
                if (!result) break;
            }
            if (!result) Log::warning("Couldn't save presets: {}", result.error().text());
            main.post([tell = std::move(tell), told = result, alive = std::weak_ptr(store)] {
                if (!alive.expired()) tell(told);
            });
        });
    }

    Executor& main;
    std::shared_ptr<int> store = std::make_shared<int>(0); ///< null once the store is gone
    Written result;                                        ///< of the last change; the strand's
    Strand strand{"Presets", TaskPriority::utility};
};

BrushPresetStore::BrushPresetStore(std::filesystem::path folder, Executor& main)
    : folder_(std::move(folder)), writer_(std::make_unique<Writer>(main)) {
    read();
}

BrushPresetStore::~BrushPresetStore() {
    writer_->strand.drain();
    writer_->store.reset(); // what was told since is not heard
}

std::vector<BrushPreset> BrushPresetStore::presets() const {
    std::vector<BrushPreset> all = BuiltInBrushes::presets();
    all.insert(all.end(), _userPresets->begin(), _userPresets->end());
    return all;
}

std::optional<BrushPreset> BrushPresetStore::find(const Uuid& id) const {
    for (const std::vector<BrushPreset>* const list : {&BuiltInBrushes::presets(), &*_userPresets})
        if (const auto found = placeOf(*list, id); found != list->end()) return *found;
    return std::nullopt;
}

bool BrushPresetStore::isBuiltIn(const Uuid& id) {
    const std::vector<BrushPreset>& all = BuiltInBrushes::presets();
    return placeOf(all, id) != all.end();
}

Uuid BrushPresetStore::add(BrushPreset preset) {
    preset.id = Uuid::make();
    preset.name = freeName(std::move(preset.name), preset.id);
    const Uuid id = preset.id;
    _userPresets.update([&](auto& all) { all.push_back(preset.clamped()); });
    save();
    return id;
}

template <typename Change>
void BrushPresetStore::changePreset(const Uuid& id, Change&& change) {
    std::vector<BrushPreset> all = *_userPresets;
    const auto found = placeOf(all, id);
    if (found == all.end()) return;
    std::forward<Change>(change)(all, found);
    if (all == *_userPresets) return;
    _userPresets = std::move(all);
    save();
}

void BrushPresetStore::rename(const Uuid& id, std::string name) {
    changePreset(id,
                 [&](auto& /*all*/, auto preset) { preset->name = freeName(std::move(name), id); });
}

void BrushPresetStore::replace(const Uuid& id, const BrushPreset& with) {
    changePreset(id, [&](auto& /*all*/, auto preset) {
        BrushPreset changed = with.clamped();
        changed.id = id;
        changed.name = preset->name;
        *preset = std::move(changed);
    });
}

void BrushPresetStore::remove(const Uuid& id) {
    changePreset(id, [](auto& all, auto preset) { all.erase(preset); });
}

void BrushPresetStore::move(const Uuid& id, std::size_t to) {
    changePreset(id, [to](auto& all, auto preset) {
        BrushPreset moved = std::move(*preset);
        all.erase(preset);
        all.insert(all.begin() + static_cast<std::ptrdiff_t>(std::min(to, all.size())),
                   std::move(moved));
    });
}

SharedBrushTip BrushPresetStore::tip(const Uuid& id) {
    if (SharedBrushTip builtIn = BuiltInBrushes::tip(id)) return builtIn;
    if (const auto loaded = loadedTips_.find(id); loaded != loadedTips_.end())
        return loaded->second;
    if (placeOf(*_userTips, id) == _userTips->end()) return nullptr;
    const auto text = readSmallFile(tipFile(id), BrushTipFile::largest);
    auto tip = text ? BrushTipFile::parse(*text, id) : std::nullopt;
    if (!tip)
        Log::warning("Brush tip unreadable: {}", text ? tipFile(id).string() : text.error().text());
    return loadedTips_[id] = tip ? std::make_shared<const BrushTipImage>(std::move(*tip)) : nullptr;
}

SharedBrushTip BrushPresetStore::addTip(BrushTipImage image, std::string name) {
    for (const TipName& known : *_userTips) {
        const SharedBrushTip same = tip(known.id);
        if (same && same->width == image.width && same->bytes == image.bytes) return same;
    }
    const auto added = std::make_shared<const BrushTipImage>(std::move(image));
    loadedTips_[added->id] = added;
    unsavedTips_.insert(added->id);
    _userTips.update([&](auto& all) { all.push_back({added->id, trimmedName(std::move(name))}); });
    save();
    return added;
}

std::expected<void, FileError> BrushPresetStore::flush() {
    writer_->strand.drain();
    return writer_->result;
}

void BrushPresetStore::read() {
    const Json json =
        readJsonOrKeepAside(folder_ / fileName, "Brush presets").value_or(Json::object());
    std::vector<BrushPreset> presets;
    std::set<Uuid> taken;
    for (const Json& each : listIn(json, "presets")) {
        if (!each.is_object()) continue;
        BrushPreset preset = brushPresetFrom(each);
        preset.name = trimmedName(std::move(preset.name));
        if (!taken.insert(preset.id).second) preset.id = Uuid::make();
        presets.push_back(std::move(preset));
    }
    std::vector<TipName> tips;
    for (const Json& each : listIn(json, "tips")) {
        const auto text = stringField(each, "id");
        const auto id = text ? Uuid::parse(*text) : std::nullopt;
        if (id) tips.push_back({*id, trimmedName(stringField(each, "name").value_or(""))});
    }
    _userPresets = std::move(presets);
    _userTips = std::move(tips);
}

void BrushPresetStore::save() {
    std::vector<Writer::File> files;
    files.reserve(unsavedTips_.size() + 1);
    for (const Uuid& id : unsavedTips_)
        files.push_back({tipFile(id), BrushTipFile::textOf(*loadedTips_.at(id))});
    files.push_back({folder_ / fileName, listText()});
    writer_->write(std::move(files), [this, tips = unsavedTips_](const Writer::Written& written) {
        if (written)
            for (const Uuid& id : tips)
                unsavedTips_.erase(id);
        _problem = written ? std::string()
                           : fmt::format("Couldn't save presets: {}", written.error().text());
    });
}

std::string BrushPresetStore::listText() const {
    Json presets = Json::array();
    for (const BrushPreset& preset : *_userPresets)
        presets.push_back(storedBrushPreset(preset));
    Json tips = Json::array();
    for (const TipName& tip : *_userTips)
        tips.push_back({{"id", tip.id.text()}, {"name", tip.name}});
    return indentedText({{"presets", std::move(presets)}, {"tips", std::move(tips)}});
}

std::filesystem::path BrushPresetStore::tipFile(const Uuid& id) const {
    return folder_ / "tips" / (id.text() + ".pgm");
}

std::string BrushPresetStore::freeName(std::string name, const Uuid& owner) const {
    name = trimmedName(std::move(name));
    const std::vector<BrushPreset> all = presets();
    const auto isTaken = [&](const std::string& wanted) {
        return std::ranges::any_of(all, [&](const BrushPreset& other) {
            return other.id != owner && other.name == wanted;
        });
    };
    if (!isTaken(name)) return name;
    for (int number = 2;; ++number)
        if (std::string numbered = fmt::format("{} {}", name, number); !isTaken(numbered))
            return numbered;
}

} // namespace ombrel
