// Counts the tones of a picture: first of samples, soon done at any size, then of every pixel. It
// works in slices of time, so that it can go on beside other work and be left at any moment. One
// caller at a time, on any thread.
#pragma once

#include "Engine/PreviewCache.h"
#include "Engine/ToneCounts.h"

#include <expected>
#include <optional>

namespace ombrel {

class ToneSurvey {
public:
    using Clock = PreviewCache::Clock;

    /// What is surveyed.
    struct Subject {
        CompositeProgram program;
        Canvas canvas;
    };
    static Subject merged(const DocumentState& state);
    /// A layer's own pixels within the canvas, without its mask and opacity.
    static Subject layer(const PixelLayer& layer, const Canvas& canvas);

    enum class Detail : std::uint8_t { samples, everyPixel };

    ToneSurvey(PixelDevice& device, TileStore& store)
        : device_(device), store_(store), samples_(device, store, nullptr) {}

    /// Forgets what was counted. Samples of what did not change are kept.
    void begin(Subject subject, Detail detail);
    /// Works for about so long; true when all is counted.
    std::expected<bool, EngineError> advance(Clock::duration time);
    const ToneCounts& counts() const { return counts_; }
    /// Of how many pixels one was counted.
    std::int64_t pixelsOfSample() const;

private:
    std::expected<bool, EngineError> advanceSamples(Clock::time_point deadline);
    std::expected<bool, EngineError> advancePixels(Clock::time_point deadline);
    /// `within`: the part of the tile that is the picture.
    void count(const std::byte* bytes, PixelSize within);
    void count(const PremultipliedColor& color, PixelSize within);

    PixelDevice& device_;
    TileStore& store_;
    PreviewCache samples_;
    Subject subject_;
    Detail detail_ = Detail::samples;
    LuminanceWeights weights_{};
    ToneCounts counts_;
    std::int64_t nextTile_ = 0; ///< in row order, of those at full size
};

} // namespace ombrel
