// Pixels from the linear light of one profile to that of another: ProfileConversion::apply on
// halves, operation by operation.
#pragma once

#include "Core/ProfileConversion.h"

#include <cstddef>
#include <cstdint>

namespace ombrel::Kernels {

/// `count`, a multiple of 16, pixels of four halves.
void convertProfile(const ProfileConversion& conversion, const std::uint16_t* from,
                    std::size_t count, std::uint16_t* to);

} // namespace ombrel::Kernels
