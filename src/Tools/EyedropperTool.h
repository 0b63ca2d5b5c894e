// Picks a paint colour from the picture, from a single pixel or the mean of a square of them, from
// all layers or the active one. Option picks the background colour. The colour follows a drag.
#pragma once

#include "Tools/SavedToolSettings.h"
#include "Tools/Tool.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace ombrel {

/// Which of the two paint colours.
enum class PaintSlot : std::uint8_t { foreground, background };

class EyedropperTool final : public Tool, public SavedToolSettings {
public:
    struct SampleSize {
        std::int64_t side; ///< pixels, odd
        std::string_view title;
    };
    static constexpr std::array<SampleSize, 7> sampleSizes{{{1, "Point Sample"},
                                                            {3, "3 by 3 Average"},
                                                            {5, "5 by 5 Average"},
                                                            {11, "11 by 11 Average"},
                                                            {31, "31 by 31 Average"},
                                                            {51, "51 by 51 Average"},
                                                            {101, "101 by 101 Average"}}};
    enum class Source : std::uint8_t { allLayers, activeLayer };

    struct Settings {
        std::int64_t sampleSide = 1; ///< one of sampleSizes
        Source source = Source::allLayers;

        bool operator==(const Settings&) const = default;
    };

    const Settings& settings() const { return settings_; }
    /// A side that is not offered becomes the nearest that is.
    void setSettings(Settings settings);

    /// Gets what was picked, opaque; set by whoever holds the paint colours.
    std::function<void(PaintSlot, PremultipliedColor)> onPick;

    ToolKind kind() const override { return ToolKind::eyedropper; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerMoved(const std::optional<PointerSample>& sample, ToolContext& in) override;
    std::vector<OverlayShape> overlayShapes(const ToolContext& in) const override;
    void cancelGesture(ToolContext& in) override; ///< gives the colours back

    std::string_view settingsKey() const override { return "eyedropper"; }
    void restoreSettings(const Json& stored) override;
    Json storedSettings() const override;

private:
    struct Colors {
        PremultipliedColor foreground;
        PremultipliedColor background;
    };

    void pick(const PointerSample& sample, ToolContext& in);
    void hover(std::optional<RealPoint> at, ToolContext& in);

    Settings settings_;
    std::optional<RealPoint> hover_; ///< in document coordinates
    std::optional<Colors> before_;   ///< the press
};

} // namespace ombrel
