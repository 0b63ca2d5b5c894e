#include "App/Shell/SizeDialogs.h"

#include "App/Look/QtText.h"
#include "App/Shell/FormDialog.h"
#include "App/Shell/LengthField.h"
#include "Commands/CanvasCommands.h"
#include "Commands/ImageSizeCommand.h"
#include "Commands/RotateCommands.h"
#include "Editor/DocumentSession.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QToolButton>

#include <array>
#include <memory>

namespace ombrel {

namespace {

using WeakSession = std::weak_ptr<DocumentSession>;

constexpr double largestResolution = 9999;
constexpr std::array<std::pair<const char*, ResampleFilter>, 4> filters{{
    {"Lanczos (sharpest)", ResampleFilter::lanczos},
    {"Bicubic", ResampleFilter::bicubic},
    {"Bilinear (softest)", ResampleFilter::bilinear},
    {"Nearest (hard pixels)", ResampleFilter::nearest},
}};

/// Width, height and their unit, which three dialogs' worth of fields share.
struct SizeFields {
    LengthField* width = new LengthField(nullptr);
    LengthField* height = new LengthField(nullptr);
    QComboBox* unit = makeUnitChoice(nullptr);

    SizeFields(const Canvas& canvas, const Settings& settings) {
        unit->setCurrentIndex(unit->findData(static_cast<int>(unitOf(settings))));
        width->setObjectName("width");
        height->setObjectName("height");
        setUnit(canvas.resolution);
        width->setPixels(static_cast<double>(canvas.size.width));
        height->setPixels(static_cast<double>(canvas.size.height));
    }
    void setUnit(double resolution) const {
        width->setUnit(chosenUnit(*unit), resolution);
        height->setUnit(chosenUnit(*unit), resolution);
    }
    void addTo(QFormLayout& form) const {
        form.addRow("Width", width);
        form.addRow("Height", height);
        form.addRow("Unit", unit);
    }
    PixelSize size() const { return {width->wholePixels(), height->wholePixels()}; }
};

QDoubleSpinBox* makeResolution(double value) {
    auto* field = new QDoubleSpinBox;
    field->setObjectName("resolution");
    field->setRange(1, largestResolution);
    field->setDecimals(1);
    field->setSuffix(" ppi");
    field->setValue(value);
    return field;
}

struct ImageSizeFields {
    Canvas before;
    SizeFields size;
    QDoubleSpinBox* resolution;
    QCheckBox* keepsShape = new QCheckBox("Keep proportions");
    QCheckBox* resamples = new QCheckBox("Resample the picture");
    QComboBox* filter = new QComboBox;

    ImageSizeFields(const Canvas& canvas, const Settings& settings)
        : before(canvas), size(canvas, settings), resolution(makeResolution(canvas.resolution)) {
        keepsShape->setChecked(true);
        resamples->setChecked(true);
        resamples->setObjectName("resamples");
        for (const auto& [text, kind] : filters)
            filter->addItem(text, static_cast<int>(kind));
    }
    double aspect() const {
        return static_cast<double>(before.size.width) / static_cast<double>(before.size.height);
    }
    ImageSizeCommand command() const {
        ImageSizeCommand command;
        if (resamples->isChecked() && size.size() != before.size) command.size = size.size();
        if (resolution->value() != before.resolution) command.resolution = resolution->value();
        command.filter = static_cast<ResampleFilter>(filter->currentData().toInt());
        return command;
    }
};

void connectImageSize(const std::shared_ptr<ImageSizeFields>& fields) {
    const auto setUnit = [fields] { fields->size.setUnit(fields->resolution->value()); };
    fields->size.width->onEdit = [at = fields.get()] {
        if (at->keepsShape->isChecked())
            at->size.height->setPixels(at->size.width->pixels() / at->aspect());
    };
    fields->size.height->onEdit = [at = fields.get()] {
        if (at->keepsShape->isChecked())
            at->size.width->setPixels(at->size.height->pixels() * at->aspect());
    };
    QObject::connect(fields->size.unit, &QComboBox::activated, fields->filter, setUnit);
    QObject::connect(fields->resolution, &QDoubleSpinBox::valueChanged, fields->filter, setUnit);
    QObject::connect(fields->resamples, &QCheckBox::toggled, fields->filter, [fields](bool does) {
        for (QWidget* field :
             {static_cast<QWidget*>(fields->size.width), static_cast<QWidget*>(fields->size.height),
              static_cast<QWidget*>(fields->filter), static_cast<QWidget*>(fields->keepsShape)})
            field->setEnabled(does);
        if (does) return;
        fields->size.width->setPixels(static_cast<double>(fields->before.size.width));
        fields->size.height->setPixels(static_cast<double>(fields->before.size.height));
    });
}

/// Nine places in a square.
QWidget* makeAnchorChoice(const std::shared_ptr<CanvasAnchor>& chosen) {
    static constexpr std::array<const char*, 9> arrows{"↖", "↑", "↗", "←", "•", "→", "↙", "↓", "↘"};
    auto* square = new QWidget;
    auto* grid = new QGridLayout(square);
    grid->setSpacing(2);
    grid->setContentsMargins(0, 0, 0, 0);
    auto* group = new QButtonGroup(square);
    for (int i = 0; i < static_cast<int>(arrows.size()); ++i) {
        auto* button = new QToolButton(square);
        button->setText(arrows[static_cast<std::size_t>(i)]);
        button->setFixedSize(30, 30);
        button->setCheckable(true);
        button->setChecked(i == static_cast<int>(*chosen));
        group->addButton(button, i);
        grid->addWidget(button, i / 3, i % 3);
    }
    grid->setColumnStretch(3, 1);
    QObject::connect(group, &QButtonGroup::idClicked, square,
                     [chosen](int id) { *chosen = static_cast<CanvasAnchor>(id); });
    return square;
}

} // namespace

void showImageSize(QWidget& window, DocumentSession& session, const Settings& settings) {
    const auto fields = std::make_shared<ImageSizeFields>(session._state->canvas, settings);
    auto* form = new QFormLayout;
    fields->size.addTo(*form);
    form->addRow("Resolution", fields->resolution);
    form->addRow(QString(), fields->keepsShape);
    form->addRow(QString(), fields->resamples);
    form->addRow("Filter", fields->filter);
    connectImageSize(fields);
    const auto accept = [fields, weak = session.weak_from_this()] {
        const ImageSizeCommand command = fields->command();
        const auto edited = weak.lock();
        if (edited && (command.size || command.resolution)) edited->perform(command);
    };
    makeFormDialog(window, "imageSizeDialog", "Image Size", form, accept)->show();
}

void showCanvasSize(QWidget& window, DocumentSession& session, const Settings& settings) {
    const Canvas& canvas = session._state->canvas;
    const auto fields = std::make_shared<SizeFields>(canvas, settings);
    const auto anchor = std::make_shared<CanvasAnchor>(CanvasAnchor::center);
    auto* form = new QFormLayout;
    form->addRow("Now", new QLabel(toQt(canvas.size.text()) + " px"));
    fields->addTo(*form);
    form->addRow("Anchor", makeAnchorChoice(anchor));
    QObject::connect(fields->unit, &QComboBox::activated, fields->width,
                     [fields, resolution = canvas.resolution] { fields->setUnit(resolution); });
    const auto accept = [fields, anchor, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        if (edited && fields->size() != edited->_state->canvas.size)
            edited->perform(CanvasSizeCommand{fields->size(), *anchor});
    };
    makeFormDialog(window, "canvasSizeDialog", "Canvas Size", form, accept)->show();
}

void showRotateBy(QWidget& window, DocumentSession& session) {
    auto* angle = new QDoubleSpinBox;
    angle->setObjectName("angle");
    angle->setRange(-360, 360);
    angle->setDecimals(2);
    angle->setSuffix("°");
    angle->setToolTip("Clockwise");
    auto* form = new QFormLayout;
    form->addRow("Angle", angle);
    const auto accept = [angle, weak = session.weak_from_this()] {
        const auto edited = weak.lock();
        if (edited && angle->value() != 0) edited->perform(RotateCanvasCommand{angle->value()});
    };
    makeFormDialog(window, "rotateDialog", "Rotate Canvas", form, accept)->show();
}

} // namespace ombrel
