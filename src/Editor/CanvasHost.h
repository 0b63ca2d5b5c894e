// What the headless half of a canvas needs of the view that shows it. The view implements it; the
// canvas calls it on the main thread.
#pragma once

#include "Base/Executor.h"
#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"
#include "Tools/EyedropperTool.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ombrel {

struct CanvasQuestion {
    std::string title;
    std::string text;
    std::vector<std::string> buttons; ///< the first is the one asked for, the last one refuses

    bool operator==(const CanvasQuestion&) const = default;
};

class CanvasHost {
public:
    CanvasHost() = default;
    virtual ~CanvasHost() = default;
    CanvasHost(const CanvasHost&) = delete;
    CanvasHost& operator=(const CanvasHost&) = delete;

    virtual void needsDisplay() = 0;        ///< picture and overlay
    virtual void needsOverlayDisplay() = 0; ///< the overlay alone
    virtual void cursorChanged() = 0;
    virtual void viewChanged() = 0; ///< where the canvas looks, which a window remembers
    virtual void showStatus(const std::string& text) = 0;
    virtual void beep() = 0;
    /// The index of the button; the last one's where the question was dismissed.
    virtual std::size_t ask(const CanvasQuestion& question) = 0;
    virtual void colorPicked(PaintSlot slot, const PremultipliedColor& color) = 0;
    /// In document coordinates; nothing when the pointer has left.
    virtual void pointerAt(std::optional<RealPoint> point) = 0;
    /// Where the picture is drawn, which is where strokes are rendered; null: the canvas renders
    /// them on an executor of its own.
    virtual std::shared_ptr<Executor> renderExecutor() { return nullptr; }
};

} // namespace ombrel
