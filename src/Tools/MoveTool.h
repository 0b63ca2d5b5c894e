// Moves the selected layers with their linked masks: by dragging, which with Option moves copies,
// or by the arrow keys. It may choose the layer under the pointer first. A drag is one live edit
// and one history entry.
#pragma once

#include "Tools/SavedToolSettings.h"
#include "Tools/Tool.h"

#include <vector>

namespace ombrel {

class MoveTool final : public Tool, public SavedToolSettings {
public:
    struct Settings {
        bool autoSelect = true;          ///< a press chooses what lies under it
        HitKind target = HitKind::layer; ///< what it chooses: layers or whole groups

        bool operator==(const Settings&) const = default;
    };

    const Settings& settings() const { return settings_; }
    void setSettings(const Settings& settings);

    enum class Choice : std::uint8_t { only, added };
    /// Makes a layer the active one, alone or beside those that are selected; set by whoever holds
    /// the selection of layers.
    std::function<void(LayerID, Choice)> onChooseLayer;

    ToolKind kind() const override { return ToolKind::move; }
    ToolCursor currentCursor(ToolModifiers modifiers) const override;
    void pointerDown(const PointerSample& sample, ToolContext& in) override;
    void pointerDragged(const PointerSample& sample, ToolContext& in) override;
    void pointerUp(const PointerSample& sample, ToolContext& in) override;
    bool keyDown(const ToolKey& key, ToolModifiers modifiers, ToolContext& in) override;
    void modifiersChanged(ToolModifiers modifiers, ToolContext& in) override;
    std::vector<OverlayShape> overlayShapes(const ToolContext& in) const override;
    void toolDidLeave(ToolContext& in) override;
    void cancelGesture(ToolContext& in) override;

    std::string_view settingsKey() const override { return "move"; }
    void restoreSettings(const Json& stored) override;
    Json storedSettings() const override;

private:
    enum class Phase : std::uint8_t { pressed, moving, refused };
    struct Gesture {
        PointerSample press;
        PointerSample last;
        Phase phase = Phase::pressed;
        bool copies = false;
        std::vector<LayerID> layers = {}; ///< that move
        PixelOffset moved = {};           ///< by now
    };

    void chooseAt(const PointerSample& sample, ToolContext& in);
    /// What would move; nothing after telling why not.
    std::optional<std::vector<LayerID>> movableLayers(ToolContext& in) const;
    void begin(ToolContext& in);
    void follow(ToolContext& in);
    void nudge(PixelOffset by, ToolContext& in);

    Settings settings_;
    std::optional<Gesture> gesture_;
};

} // namespace ombrel
