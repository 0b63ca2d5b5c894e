// The names of an enumeration's cases in JSON: one table each, beside the command or the codec that
// the enumeration belongs to.
#pragma once

#include <string_view>

namespace ombrel {

template <typename E>
struct EnumCase {
    E value;
    std::string_view name;
};

/// `cases`, an array of EnumCase with every case once, and `name`, what the reference calls the
/// enumeration ("blend mode").
template <typename E>
struct EnumNames;

} // namespace ombrel
