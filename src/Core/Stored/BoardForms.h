// The stored forms of a board's identifiers and instances.
#pragma once

#include "Core/InstanceContent.h"
#include "Core/Stored/DocumentForms.h"

namespace ombrel::Stored {

template <>
struct Fields<BoardNodeID> {
    static constexpr std::tuple list{field("rawValue", &BoardNodeID::rawValue)};
};

/// {"matrix": nine numbers, row by row}; three rows of three are read too.
template <>
struct Form<Homography> {
    static Json encode(const Homography& homography);
    static Result<Homography> decode(const Json& json);
};

template <>
struct Fields<InstanceContent> {
    static constexpr std::tuple list{field("source", &InstanceContent::source),
                                     field("transform", &InstanceContent::transform),
                                     field("sourceSize", &InstanceContent::sourceSize)};
};

} // namespace ombrel::Stored
