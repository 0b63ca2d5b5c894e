#include "Core/ProfileConversion.h"

#include "Core/ColorProfileReading.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace ombrel {

namespace {

constexpr float identityTolerance = 0x1.4f8b58p-17f; // 0.00001
static_assert(std::bit_cast<std::uint32_t>(identityTolerance) == 0x3727C5ACu);

} // namespace

std::optional<ProfileConversion> ProfileConversion::between(const ColorProfile& from,
                                                            const ColorProfile& to) {
    if (from == to) return ProfileConversion{};
    const std::optional<ColorProfileReading> source = readColorProfile(from.iccData());
    const std::optional<ColorProfileReading> target = readColorProfile(to.iccData());
    if (!source || !source->shaper || !target || !target->shaper) return std::nullopt;
    const std::optional<Matrix3> fromXYZ = inverseOf(target->shaper->toXYZ);
    if (!fromXYZ) return std::nullopt;
    const Matrix3 matrix = productOf(*fromXYZ, source->shaper->toXYZ);
    ProfileConversion conversion;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            conversion.columns[column][row] = static_cast<float>(matrix[row][column]);
    }
    return conversion;
}

bool ProfileConversion::isIdentity() const {
    const ProfileConversion identity;
    for (std::size_t column = 0; column < 3; ++column) {
        for (std::size_t row = 0; row < 3; ++row) {
            const float difference =
                std::fabs(columns[column][row] - identity.columns[column][row]);
            if (!(difference < identityTolerance)) return false;
        }
    }
    return true;
}

PremultipliedColor ProfileConversion::apply(float red, float green, float blue, float alpha) const {
    const float limit = alpha > 0 ? alpha : 0;
    const auto channel = [&](std::size_t row) {
        const float sum = columns[0][row] * red + columns[1][row] * green + columns[2][row] * blue;
        return sum > 0 ? (sum < limit ? sum : limit) : 0.0f;
    };
    return {channel(0), channel(1), channel(2), alpha};
}

} // namespace ombrel
