// What keys change of any tool that paints. Main thread.
#pragma once

#include <cstdint>

namespace ombrel {

enum class PaintStrength : std::uint8_t { opacity, flow };

class PaintingSettings {
public:
    PaintingSettings() = default;
    virtual ~PaintingSettings() = default;
    PaintingSettings(const PaintingSettings&) = delete;
    PaintingSettings& operator=(const PaintingSettings&) = delete;

    virtual double size() const = 0; ///< diameter, document pixels
    virtual void setSize(double size) = 0;
    virtual double hardness() const = 0; ///< 0 to 1
    virtual void setHardness(double hardness) = 0;
    virtual void setStrength(double value, PaintStrength which) = 0; ///< 0 to 1
};

} // namespace ombrel
