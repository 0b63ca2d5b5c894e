// Paints with a brush: the tool behind brush, pencil and eraser, and the ground of those that paint
// with something else than a colour. Samples go through smoother, interpolator and generator, and
// the dabs to a stroke of the context. Option and Control drag size and hardness; Shift draws a
// line from the end of the last stroke, or keeps to an axis. Main thread.
#pragma once

#include "Tools/BrushDabGenerator.h"
#include "Tools/BrushOptions.h"
#include "Tools/PaintingInput.h"
#include "Tools/SavedToolSettings.h"
#include "Tools/StrokeInterpolator.h"
#include "Tools/StrokeSmoother.h"
#include "Tools/Tool.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace ombrel {

class BrushTool : public Tool, public SavedToolSettings {
public:
    explicit BrushTool(ToolKind kind);

    BrushOptions& options() { return options_; }
    const BrushOptions& options() const { return options_; }
    /// For strokes that come out alike; chance decides without it.
    void setDynamicsSeed(std::optional<std::uint64_t> seed) { dynamicsSeed_ = seed; }
    /// The time by which keys are quick; the clock's unless somebody sets another.
    std::function<PaintingInput::Clock::time_point()> now = PaintingInput::Clock::now;
    /// Where restored settings find their tip; the built-in ones unless somebody sets another.
    BrushOptions::FindTip findTip;
    bool isPainting() const { return stroke_ != nullptr; }
    bool changesHardness() const { return kind_ != ToolKind::pencil; }

    ToolKind kind() const final { return kind_; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerUp(const PointerSample& sample, ToolContext& in) override;
    void pointerMoved(const std::optional<PointerSample>& sample, ToolContext& in) override;
    bool keyDown(const ToolKey& key, ToolModifiers modifiers, ToolContext& in) override;
    std::vector<OverlayShape> overlayShapes(const ToolContext& in) const override;
    LayerLocks blockingLocks() const override;
    /// What has been painted of the stroke is taken back.
    void cancelGesture(ToolContext& in) override;

    std::string_view settingsKey() const override { return descriptionOf(kind_).identifier; }
    void restoreSettings(const Json& stored) override;
    Json storedSettings() const override;

protected:
    /// What a press paints with. Nothing: no stroke begins.
    virtual std::optional<StrokeStyle> makeStyle(const PointerSample& sample, ToolContext& in);
    /// The style of a brush or an eraser with these options.
    virtual StrokeStyle plainStyle(const ToolContext& in) const;
    /// All dabs are with the stroke.
    virtual void finishStroke(StrokeHandle& stroke, ToolContext& in);

    const std::optional<RealPoint>& hover() const { return hover_; }
    const PaintingInput& input() const { return input_; }
    /// The diameter times this is what is seen of the brush now.
    double visibleRadius() const;

private:
    void beginAdjusting(const PointerSample& sample, ToolContext& in);
    void beginPipeline(const PointerSample& sample, ToolContext& in);
    void extend(const std::vector<StrokePoint>& points);
    /// Through the smoother and all that follows.
    void addPoint(const StrokePoint& point);
    StrokePoint pointOf(const PointerSample& sample, RealPoint location) const;
    std::vector<OverlayShape> adjustingShapes(RealPoint at, double radius) const;

    const ToolKind kind_;
    BrushOptions options_;
    std::shared_ptr<StrokeHandle> stroke_; ///< null: not painting
    StrokeInterpolator interpolator_;
    StrokeSmoother smoother_;
    BrushDabGenerator generator_;
    std::optional<std::uint64_t> dynamicsSeed_;
    std::optional<RealPoint> hover_;
    float lastPressure_ = 1;
    std::optional<RealPoint> lastStrokeEnd_; ///< where a line with Shift begins
    std::optional<RealPoint> lastPoint_;
    PaintingInput input_;
    Connection optionsChange_;
};

} // namespace ombrel
