#include "Tools/BuiltInBrushes.h"

#include "Base/Check.h"
#include "Tools/BuiltInTips.h"

#include <algorithm>
#include <fmt/format.h>
#include <mutex>
#include <string_view>
#include <utility>

namespace ombrel::BuiltInBrushes {

namespace {

Uuid idOfTip(std::size_t number) {
    const auto id = Uuid::parse(fmt::format("6B1E0C59-0A0B-4C1E-9D0A-{:012}", number));
    OMBREL_CHECK(id.has_value(), "the ids of built-in tips are UUIDs");
    return *id;
}

struct Row {
    std::string_view name;
    std::size_t tip; ///< by number, 0 for none
    void (*change)(BrushPreset&);
};

const std::array<Row, 8> rows{{
    {"Soft Round", 0, [](BrushPreset& brush) { brush.hardness = 0; }},
    {"Hard Round", 0, [](BrushPreset& brush) { brush.hardness = 1; }},
    {"Chalk", 1,
     [](BrushPreset& brush) {
         brush.size = 40;
         brush.spacing = 0.25;
         brush.shape = {.enabled = true, .angleJitter = 1};
     }},
    {"Charcoal", 2,
     [](BrushPreset& brush) {
         brush.size = 50;
         brush.spacing = 0.15;
         brush.shape = {
             .enabled = true, .sizeJitter = 0.2, .angleControl = DynamicsControl::direction};
     }},
    {"Spatter", 3,
     [](BrushPreset& brush) {
         brush.size = 60;
         brush.spacing = 0.6;
         brush.pressureControlsSize = false;
         brush.shape = {.enabled = true, .sizeJitter = 0.6, .angleJitter = 1};
         brush.scattering = {.enabled = true, .amount = 0.8, .bothAxes = true};
     }},
    {"Bristle", 4,
     [](BrushPreset& brush) {
         brush.size = 60;
         brush.angle = 90;
         brush.spacing = 0.04;
         brush.shape = {.enabled = true, .angleControl = DynamicsControl::direction};
         brush.transfer = {.enabled = true, .flowControl = DynamicsControl::penPressure};
     }},
    {"Dry Brush", 5,
     [](BrushPreset& brush) {
         brush.size = 70;
         brush.spacing = 0.2;
         brush.shape = {.enabled = true, .angleJitter = 0.5};
         brush.transfer = {.enabled = true, .flowJitter = 0.4};
     }},
    {"Scattered Leaves Soft", 6,
     [](BrushPreset& brush) {
         brush.size = 40;
         brush.spacing = 0.6;
         brush.pressureControlsSize = false;
         brush.shape = {.enabled = true, .sizeJitter = 0.5, .angleJitter = 1};
         brush.scattering = {.enabled = true, .amount = 1, .count = 2};
         brush.transfer = {.enabled = true, .opacityJitter = 0.3};
     }},
}};

} // namespace

const std::array<Uuid, tipCount>& tipIDs() {
    static const std::array ids{idOfTip(1), idOfTip(2), idOfTip(3),
                                idOfTip(4), idOfTip(5), idOfTip(6)};
    return ids;
}

SharedBrushTip tip(const Uuid& id) {
    const auto found = std::ranges::find(tipIDs(), id);
    if (found == tipIDs().end()) return nullptr;
    struct Lazy {
        std::once_flag once;
        SharedBrushTip tip;
    };
    static std::array<Lazy, tipCount> tips;
    const auto place = static_cast<std::size_t>(found - tipIDs().begin());
    Lazy& lazy = tips.at(place);
    std::call_once(lazy.once, [&] {
        lazy.tip = std::make_shared<const BrushTipImage>(id, tipSide, tipSide,
                                                         BuiltInTips::coverage(place, tipSide));
    });
    return lazy.tip;
}

const std::vector<BrushPreset>& presets() {
    static const std::vector<BrushPreset> made = [] {
        std::vector<BrushPreset> presets;
        for (const Row& row : rows) {
            BrushPreset& preset = presets.emplace_back();
            preset.id = Uuid::make();
            preset.name = row.name;
            if (row.tip > 0) preset.tipID = tipIDs().at(row.tip - 1);
            row.change(preset);
        }
        return presets;
    }();
    return made;
}

} // namespace ombrel::BuiltInBrushes
