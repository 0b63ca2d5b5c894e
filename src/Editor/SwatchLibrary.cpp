#include "Editor/SwatchLibrary.h"

#include "Base/AtomicFile.h"
#include "Base/JsonFile.h"
#include "Base/Log.h"
#include "Base/XdgFolders.h"

#include <algorithm>
#include <fmt/format.h>

namespace ombrel {

namespace {

constexpr std::string_view inWarnings = "Swatches";

/// Grays and the colours around the circle, light, full and dark.
std::vector<SwatchSet> builtInSets() {
    SwatchSet set{"Basics", {}};
    constexpr int grays = 6;
    for (int i = 0; i <= grays; ++i) {
        const double shade = static_cast<double>(i) / grays;
        set.swatches.push_back({i == 0       ? "Black"
                                : i == grays ? "White"
                                             : "",
                                {shade, shade, shade}});
    }
    struct Row {
        double saturation;
        double brightness;
    };
    for (const Row& row : {Row{0.35, 1}, Row{0.9, 0.95}, Row{0.9, 0.55}}) {
        for (int hue = 0; hue < 360; hue += 30)
            set.swatches.push_back(
                {"", ColorMath::rgbOf({static_cast<double>(hue), row.saturation, row.brightness})});
    }
    return {std::move(set)};
}

std::expected<Swatch, JsonError> swatchOf(const Json& json) {
    const auto name = stringField(json, "name");
    if (!name) return std::unexpected(name.error());
    Swatch swatch{*name, {}};
    using Rgb = ColorMath::DisplayRgb;
    for (const auto& [key, channel] : {std::pair("red", &Rgb::red), std::pair("green", &Rgb::green),
                                       std::pair("blue", &Rgb::blue)}) {
        const auto value = numberField(json, key);
        if (!value) return std::unexpected(value.error());
        if (!(*value >= 0 && *value <= 1)) return std::unexpected(JsonError{"a color is no color"});
        swatch.color.*channel = *value;
    }
    return swatch;
}

std::expected<SwatchSet, JsonError> setOf(const Json& json) {
    const auto name = stringField(json, "name");
    if (!name) return std::unexpected(name.error());
    const auto swatches = arrayField(json, "swatches");
    if (!swatches) return std::unexpected(swatches.error());
    SwatchSet set{*name, {}};
    for (const Json& item : swatches->get()) {
        auto swatch = swatchOf(item);
        if (!swatch) return std::unexpected(swatch.error());
        set.swatches.push_back(*std::move(swatch));
    }
    return set;
}

std::vector<SwatchSet> named(std::vector<SwatchSet> sets) {
    std::vector<SwatchSet> result;
    for (SwatchSet& set : sets) {
        set.name = freeSetName(result, set.name.empty() ? "Swatches" : set.name);
        result.push_back(std::move(set));
    }
    if (result.empty()) result.push_back({"Swatches", {}});
    return result;
}

} // namespace

std::string freeSetName(std::span<const SwatchSet> sets, const std::string& wanted) {
    std::string name = wanted;
    for (int number = 2; std::ranges::find(sets, name, &SwatchSet::name) != sets.end(); ++number)
        name = fmt::format("{} {}", wanted, number);
    return name;
}

Json jsonOf(std::span<const SwatchSet> sets) {
    Json list = Json::array();
    for (const SwatchSet& set : sets) {
        Json swatches = Json::array();
        for (const Swatch& swatch : set.swatches)
            swatches.push_back({{"name", swatch.name},
                                {"red", swatch.color.red},
                                {"green", swatch.color.green},
                                {"blue", swatch.color.blue}});
        list.push_back({{"name", set.name}, {"swatches", std::move(swatches)}});
    }
    return Json{{"sets", std::move(list)}};
}

std::expected<std::vector<SwatchSet>, JsonError> swatchSetsOf(const Json& json) {
    const auto list = arrayField(json, "sets");
    if (!list) return std::unexpected(list.error());
    std::vector<SwatchSet> sets;
    for (const Json& item : list->get()) {
        auto set = setOf(item);
        if (!set) return std::unexpected(set.error());
        sets.push_back(*std::move(set));
    }
    return sets;
}

SwatchLibrary& SwatchLibrary::shared() {
    static auto* const library =
        std::make_unique<SwatchLibrary>(XdgFolders::fromEnvironment().data / "swatches.json")
            .release();
    return *library;
}

SwatchLibrary::SwatchLibrary(std::filesystem::path file)
    : file_(std::move(file)), sets_(builtInSets()) {
    const std::optional<Json> json = readJsonOrKeepAside(file_, inWarnings);
    if (!json) return;
    if (auto sets = swatchSetsOf(*json))
        sets_ = named(*std::move(sets));
    else
        keepAside(file_, inWarnings, sets.error().message);
}

SwatchLibrary::~SwatchLibrary() {
    finish();
}

void SwatchLibrary::setSets(std::vector<SwatchSet> sets) {
    sets = named(std::move(sets));
    if (sets == sets_) return;
    sets_ = std::move(sets);
    write();
    changed_.emit();
}

void SwatchLibrary::write() {
    writer_.post([file = file_, sets = sets_] {
        if (const auto made = createPrivateFolder(file.parent_path()); !made)
            return Log::warning("{}", made.error().text());
        const auto written = writeFileAtomically(file, indentedText(jsonOf(sets)));
        if (!written) Log::warning("{}", written.error().text());
    });
}

} // namespace ombrel
