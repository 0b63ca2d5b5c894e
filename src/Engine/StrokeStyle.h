// How the coverage of a stroke becomes paint: what is laid down, how it blends and how strongly.
// The same for a whole stroke. Plain values.
#pragma once

#include "Core/BlendMode.h"
#include "Core/PremultipliedColor.h"
#include "Core/TileGrid.h"
#include "Engine/BrushTipImage.h"

#include <cstdint>
#include <optional>
#include <variant>

namespace ombrel {

enum class ToneRange : std::uint8_t { shadows, midtones, highlights };

/// A change of the pixels that are there, instead of paint.
struct BrushEffect {
    struct Dodge {
        ToneRange range;
        float exposure; ///< 0 to 1
        bool operator==(const Dodge&) const = default;
    };
    struct Burn {
        ToneRange range;
        float exposure; ///< 0 to 1
        bool operator==(const Burn&) const = default;
    };
    struct Sponge {
        bool saturate; ///< rather than take saturation away
        bool vibrance; ///< spares what is saturated (or grey) already
        bool operator==(const Sponge&) const = default;
    };
    struct Blur {
        float strength; ///< 0 to 1
        bool operator==(const Blur&) const = default;
    };
    struct Sharpen {
        float strength; ///< 0 to 1
        bool operator==(const Sharpen&) const = default;
    };

    std::variant<Dodge, Burn, Sponge, Blur, Sharpen> value;

    bool operator==(const BrushEffect&) const = default;
};

struct PaintBlend {
    struct Blend {
        BlendMode mode;
        bool operator==(const Blend&) const = default;
    };
    /// Under what is there.
    struct Behind {
        bool operator==(const Behind&) const = default;
    };
    /// Takes away what is there.
    struct Clear {
        bool operator==(const Clear&) const = default;
    };

    std::variant<Blend, Behind, Clear> value = Blend{BlendMode::normal};

    bool operator==(const PaintBlend&) const = default;
};

/// Paint taken from elsewhere: the pixel at p gets what `pixels` has at p + (dx, dy).
struct CloneSource {
    TileGrid pixels{TileFormat::rgba16Float};
    std::int64_t dx = 0;
    std::int64_t dy = 0;
};

struct StrokeStyle {
    enum class Mode : std::uint8_t { paint, erase };

    Mode mode = Mode::paint;
    PremultipliedColor color = PremultipliedColor::black();
    float opacity = 1; ///< 0 to 1; no place of a stroke gets more than this
    std::optional<CloneSource> clone = {};
    std::optional<BrushEffect> effect = {};
    PaintBlend blend = {};
    SharedBrushTip tip = nullptr;
    /// Between dabs, as a fraction of the diameter; absent: dabs add up as they come.
    std::optional<float> spacing = {};
};

} // namespace ombrel
