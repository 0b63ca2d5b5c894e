// The stored form of gradients.
#pragma once

#include "Core/GradientDefinition.h"
#include "Core/Stored/DocumentForms.h"

namespace ombrel::Stored {

template <>
struct Cases<GradientDefinition::StopColor> {
    static constexpr std::array list{Case{"custom", Payload::unlabelled}, Case{"foreground"},
                                     Case{"background"}};
};

template <>
struct Fields<GradientDefinition::ColorStop> {
    using Stop = GradientDefinition::ColorStop;
    static constexpr std::tuple list{field("id", &Stop::id), field("location", &Stop::location),
                                     field("color", &Stop::color),
                                     fieldOrDefault("midpoint", &Stop::midpoint)};
};

template <>
struct Fields<GradientDefinition::OpacityStop> {
    using Stop = GradientDefinition::OpacityStop;
    static constexpr std::tuple list{field("id", &Stop::id), field("location", &Stop::location),
                                     field("opacity", &Stop::opacity),
                                     fieldOrDefault("midpoint", &Stop::midpoint)};
};

template <>
struct Fields<GradientDefinition> {
    static constexpr std::tuple list{field("id", &GradientDefinition::id),
                                     field("name", &GradientDefinition::name),
                                     field("colorStops", &GradientDefinition::colorStops),
                                     field("opacityStops", &GradientDefinition::opacityStops)};
};

} // namespace ombrel::Stored
