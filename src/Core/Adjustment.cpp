#include "Core/Adjustment.h"

#include <algorithm>
#include <string>

namespace ombrel {

namespace {

struct IsIdentity {
    bool operator()(const Adjustment::Levels& levels) const {
        return std::ranges::all_of(LevelsMath::channelPrefixes, [&](std::string_view prefix) {
            return LevelsMath::channelOf(levels.params, prefix) == LevelsMath::Channel{};
        });
    }
    bool operator()(const Adjustment::BrightnessContrast& each) const {
        return each.brightness == 0 && each.contrast == 0;
    }
    bool operator()(const HueSaturation& each) const { return each == HueSaturation{}; }
    bool operator()(Adjustment::Invert) const { return false; }
    bool operator()(Adjustment::Desaturate) const { return false; }
};

} // namespace

LevelsMath::Channel LevelsMath::channelOf(const EffectParams& params, std::string_view prefix) {
    Channel channel;
    for (const ValueName& each : values) {
        const std::string key = std::string(prefix) + '.' + std::string(each.name);
        channel.*each.member = params.number(EffectKind::levels, key);
    }
    return channel;
}

std::string_view Adjustment::name() const {
    static constexpr std::array<std::string_view, 5> names{
        "Levels", "Brightness/Contrast", "Hue/Saturation", "Invert", "Desaturate"};
    return names[value.index()];
}

bool Adjustment::isIdentity() const {
    return std::visit(IsIdentity{}, value);
}

} // namespace ombrel
