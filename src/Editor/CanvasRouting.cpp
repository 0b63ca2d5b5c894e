// Edits of pixels on their way to a layer or to its mask: strokes, live edits and commands.
#include "Base/Strand.h"
#include "Commands/MaskCommands.h"
#include "Editor/CanvasController.h"
#include "Editor/PixelTarget.h"

#include <utility>

namespace ombrel {

const DocumentState& CanvasController::routedState() const {
    const EditRouting routing = EditRouting::of(*session_);
    if (!routing.maskLayer) {
        maskEditing_.drop();
        return *session_->_state;
    }
    const auto* state =
        maskEditing_.stateOf(*session_->_state, *routing.maskLayer, session_->store());
    return state != nullptr ? *state : *session_->_state;
}

Command CanvasController::routed(const Command& command) const {
    const EditRouting routing = EditRouting::of(*session_);
    if (!routing.maskLayer) return command;
    return MaskTargetCommand{command, *routing.maskLayer};
}

void CanvasController::editLive(const Edit& edit) {
    if (!ownsLive_) {
        if (!session_->beginLive()) return;
        ownsLive_ = true;
    }
    const EditRouting routing = EditRouting::of(*session_);
    if (!routing.maskLayer) return session_->updateLive(edit);
    session_->updateLive([&](DocumentState& state) {
        DocumentState edited = routedState();
        edit(edited);
        MaskEditing::writeBack(edited, *routing.maskLayer, maskEditing_.picture(), state,
                               session_->store());
    });
}

void CanvasController::cancelLive() {
    if (const auto stroke = stroke_.lock()) stroke->cancel();
    if (std::exchange(ownsLive_, false)) session_->cancelLive();
}

std::shared_ptr<Executor> CanvasController::renderExecutor() {
    if (auto executor = host_ != nullptr ? host_->renderExecutor() : nullptr) return executor;
    if (!ownExecutor_) ownExecutor_ = std::make_shared<Strand>("Strokes");
    return ownExecutor_;
}

// An eraser has nothing to take away from a mask: it paints the background colour.
StrokeStyle CanvasController::styleFor(StrokeStyle style, EditTarget target) const {
    const bool erases = style.mode == StrokeStyle::Mode::erase && !style.effect && !style.clone;
    if (target == EditTarget::mask && erases) {
        style.mode = StrokeStyle::Mode::paint;
        style.color = backgroundColor();
    }
    return style;
}

std::shared_ptr<StrokeHandle> CanvasController::beginStroke(const StrokeStyle& style,
                                                            std::string name) {
    if (!preparePixelEdit(LayerLocks::pixels)) return nullptr;
    if (const auto before = stroke_.lock()) before->end(); // its tool has forgotten it
    const EditRouting routing = EditRouting::of(*session_);
    const LayerID layer = routing.maskLayer ? *routing.maskLayer : *session_->_state->activeLayerID;
    const auto canvas = weak_from_this();
    const auto stroke = StrokeController::begin(
        *session_, {.layerID = layer,
                    .target = routing.target(),
                    .style = styleFor(style, routing.target()),
                    .name = std::move(name),
                    .renderOn = renderExecutor(),
                    .onSegment =
                        [canvas](const PixelRect& changed) {
                            const RealRect rect{{double(changed.x), double(changed.y)},
                                                {double(changed.width), double(changed.height)}};
                            if (const auto self = canvas.lock())
                                self->invalidate(CanvasPart::picture, rect);
                        },
                    .onFailure =
                        [canvas](const std::string& text) {
                            if (const auto self = canvas.lock()) self->refuse(text);
                        }});
    if (!stroke) {
        refuse(waitForOperation);
        return nullptr;
    }
    stroke_ = stroke;
    return stroke->handle();
}

} // namespace ombrel
