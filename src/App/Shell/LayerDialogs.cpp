#include "App/Shell/LayerDialogs.h"

#include "App/Look/QtText.h"
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerSelection.h"
#include "App/Shell/FormDialog.h"
#include "Commands/CanvasCommands.h"
#include "Commands/LayerPropertyCommands.h"
#include "Commands/RotateCommands.h"
#include "Commands/TranslateLayersCommand.h"
#include "Editor/DocumentSession.h"

#include <QCheckBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>

#include <array>
#include <memory>

namespace ombrel {

namespace {

constexpr int farthest = 1'000'000; ///< pixels that a form moves by or crops at

QSpinBox* makePixels(const char* name, int lowest, int value) {
    auto* field = new QSpinBox;
    field->setObjectName(name);
    field->setRange(lowest, farthest);
    field->setSuffix(" px");
    field->setValue(value);
    field->setMinimumWidth(110);
    return field;
}

QDoubleSpinBox* makeAngle() {
    auto* angle = new QDoubleSpinBox;
    angle->setObjectName("angle");
    angle->setRange(-360, 360);
    angle->setDecimals(2);
    angle->setSuffix("°");
    angle->setToolTip("Clockwise");
    angle->setMinimumWidth(110);
    return angle;
}

} // namespace

void showRenameLayer(QWidget& window, DocumentSession& session) {
    const LayerNode* active = session._state->activeLayer();
    if (active == nullptr) return;
    auto* name = new QLineEdit(toQt(active->properties().name));
    name->setObjectName("name");
    name->setMinimumWidth(260);
    name->selectAll();
    auto* form = new QFormLayout;
    form->addRow("Name", name);
    const auto accept = [name, id = active->id(), weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        const LayerNode* node = edited ? edited->_state->find(id) : nullptr;
        const std::string wanted = fromQt(name->text().trimmed());
        if (node == nullptr || wanted.empty() || wanted == node->properties().name) return;
        LayerProperties properties = node->properties();
        properties.name = wanted;
        edited->perform(SetLayerPropertiesCommand{id, properties, "Rename Layer"});
    };
    makeFormDialog(window, "renameDialog", "Rename Layer", form, accept)->show();
}

void showLayerOpacity(QWidget& window, DocumentSession& session) {
    const LayerNode* active = session._state->activeLayer();
    if (active == nullptr) return;
    auto* opacity = new QSpinBox;
    opacity->setObjectName("opacity");
    opacity->setRange(0, 100);
    opacity->setSuffix(" %");
    opacity->setValue(qRound(active->properties().opacity * 100));
    opacity->setMinimumWidth(110);
    auto* form = new QFormLayout;
    form->addRow("Opacity", opacity);
    const auto accept = [opacity, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        if (!edited) return;
        const float wanted = static_cast<float>(opacity->value()) / 100;
        LayerActions::changeProperties(*edited, "Layer Opacity",
                                       [&](LayerProperties& each) { each.opacity = wanted; });
    };
    makeFormDialog(window, "opacityDialog", "Layer Opacity", form, accept)->show();
}

void showMoveLayers(QWidget& window, DocumentSession& session) {
    auto* right = makePixels("right", -farthest, 0);
    auto* down = makePixels("down", -farthest, 0);
    auto* form = new QFormLayout;
    form->addRow("To the right", right);
    form->addRow("Down", down);
    const auto accept = [right, down, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        if (!edited || (right->value() == 0 && down->value() == 0)) return;
        edited->perform(
            TranslateLayersCommand{LayerSelection(*edited).ids(), right->value(), down->value()});
    };
    makeFormDialog(window, "moveDialog", "Move Layers", form, accept)->show();
}

void showRotateLayers(QWidget& window, DocumentSession& session) {
    auto* angle = makeAngle();
    auto* form = new QFormLayout;
    form->addRow("Angle", angle);
    const auto accept = [angle, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        if (edited && angle->value() != 0)
            edited->perform(RotateLayersCommand{LayerSelection(*edited).ids(), angle->value()});
    };
    makeFormDialog(window, "rotateLayersDialog", "Rotate Layers", form, accept)->show();
}

void showCrop(QWidget& window, DocumentSession& session) {
    const PixelSize size = session._state->canvas.size;
    auto* left = makePixels("left", -farthest, 0);
    auto* top = makePixels("top", -farthest, 0);
    auto* width = makePixels("width", 1, static_cast<int>(size.width));
    auto* height = makePixels("height", 1, static_cast<int>(size.height));
    auto* deletes = new QCheckBox("Delete what lies outside");
    deletes->setObjectName("deletes");
    auto* form = new QFormLayout;
    form->addRow("Left", left);
    form->addRow("Top", top);
    form->addRow("Width", width);
    form->addRow("Height", height);
    form->addRow(QString(), deletes);
    const auto accept = [=, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        const PixelRect rect{left->value(), top->value(), width->value(), height->value()};
        if (edited) edited->perform(CropCommand{rect, deletes->isChecked()});
    };
    makeFormDialog(window, "cropDialog", "Crop to Rectangle", form, accept)->show();
}

} // namespace ombrel
