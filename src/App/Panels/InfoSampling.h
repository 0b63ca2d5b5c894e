// What the info panel tells of the place under the pointer: the picture's colour there and the
// layer that it belongs to. Pages in tiles, so it belongs on a worker. Pure functions; any thread.
#pragma once

#include "Core/DocumentState.h"
#include "Core/RealGeometry.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace ombrel {

/// How the numbers of a document's colours are told.
enum class InfoFormat : std::uint8_t { byte, word, unit, linear };

struct PointInfo {
    std::int64_t x = 0; ///< the pixel
    std::int64_t y = 0;
    PremultipliedColor color; ///< of the merged picture; all zero beside the canvas
    std::string layer;        ///< empty where no layer shows anything

    bool operator==(const PointInfo&) const = default;
};

PointInfo infoAt(const DocumentState& state, RealPoint point);

/// Red, green and blue, straight, as a file of this profile holds them: encoded by its curves and
/// not cut, or linear light. By the sRGB curve where the profile has none that can be used.
class InfoEncoding {
public:
    explicit InfoEncoding(const ColorProfile& profile);
    ~InfoEncoding();
    InfoEncoding(const InfoEncoding&) = delete;
    InfoEncoding& operator=(const InfoEncoding&) = delete;

    std::array<std::string, 3> textOf(const PremultipliedColor& color, InfoFormat format) const;

private:
    struct Curves;
    std::unique_ptr<const Curves> curves_;
};

/// "0.5" of 0 to 1, "128" of bytes, "32768" of words.
std::string infoText(double value, InfoFormat format);

} // namespace ombrel
