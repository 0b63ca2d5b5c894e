#include "App/Shell/NewDocumentForm.h"

#include "App/Look/QtText.h"
#include "App/Panels/StatusFields.h"
#include "App/Shell/FormNames.h"
#include "App/Shell/LengthField.h"
#include "Core/ColorMath.h"
#include "Core/ProfileConversion.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QStandardItemModel>
#include <QToolButton>
#include <QVBoxLayout>

#include <fmt/format.h>

#include <array>

namespace ombrel {

namespace {

constexpr const char* settingsKey = "newDocument";
constexpr const char* dialogName = "newDocumentDialog";
constexpr int customPreset = -1;
constexpr std::int64_t bytesAPixel = 8;
constexpr double largestResolution = 9999;

enum class Ground : std::uint8_t { white, black, transparent, color };
constexpr std::array<const char*, 4> groundNames{"White", "Black", "Transparent", "Color"};

void addHeading(QComboBox& choice, const QString& text) {
    choice.addItem(text);
    auto* model = qobject_cast<QStandardItemModel*>(choice.model());
    QStandardItem* item = model->item(choice.count() - 1);
    QFont font = item->font();
    font.setBold(true);
    item->setFont(font);
    item->setFlags(Qt::NoItemFlags);
}

double numberOf(const Json& json, const char* key, double otherwise) {
    return json.is_object() && json.contains(key) && json[key].is_number() ? json[key].get<double>()
                                                                           : otherwise;
}

} // namespace

NewDocumentForm::NewDocumentForm(Settings& settings, Make make, QWidget* parent)
    : QWidget(parent), settings_(settings), make_(std::move(make)), preset_(new QComboBox(this)),
      width_(new LengthField(this)), height_(new LengthField(this)), unit_(makeUnitChoice(this)),
      resolution_(new QDoubleSpinBox(this)), background_(new QComboBox(this)),
      colorButton_(new QPushButton(this)), profile_(new QComboBox(this)),
      depth_(new QComboBox(this)), summary_(new QLabel(this)),
      create_(new QPushButton("Create", this)) {
    makePresets();
    makeChoices();
    arrange();
    recall();
    connect(preset_, &QComboBox::activated, this, [this](int index) { takePreset(index); });
    connect(unit_, &QComboBox::activated, this, [this] { unitChanged(); });
    connect(resolution_, &QDoubleSpinBox::valueChanged, this, [this] { resolutionChanged(); });
    connect(background_, &QComboBox::activated, this, [this] { showColor(); });
    connect(colorButton_, &QPushButton::clicked, this, [this] { chooseColor(); });
    connect(create_, &QPushButton::clicked, this, [this] { create(); });
    for (const int key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* entered = new QShortcut(QKeySequence(key), this);
        entered->setContext(Qt::WidgetWithChildrenShortcut);
        connect(entered, &QShortcut::activated, this, [this] { create(); });
    }
    width_->onEdit = height_->onEdit = [this] { sizeEdited(); };
}

void NewDocumentForm::makePresets() {
    preset_->setObjectName("preset");
    preset_->setMaxVisibleItems(30);
    preset_->addItem("Custom", customPreset);
    std::string_view group;
    int index = 0;
    for (const DocumentPreset& preset : documentPresets()) {
        if (std::exchange(group, preset.group) != preset.group) addHeading(*preset_, toQt(group));
        preset_->addItem(toQt(preset.name), index++);
    }
}

void NewDocumentForm::makeChoices() {
    width_->setObjectName("width");
    height_->setObjectName("height");
    resolution_->setObjectName("resolution");
    resolution_->setRange(1, largestResolution);
    resolution_->setDecimals(1);
    resolution_->setSuffix(" ppi");
    background_->setObjectName("background");
    for (const char* name : groundNames)
        background_->addItem(name);
    profile_->setObjectName("profile");
    for (const ColorProfile& profile : ColorProfile::builtIn())
        profile_->addItem(toQt(profile.name()));
    depth_->setObjectName("depth");
    for (const BitDepth depth : {BitDepth::eight, BitDepth::sixteen, BitDepth::thirtyTwo})
        depth_->addItem(toQt(textOf(depth)));
    create_->setObjectName("create");
    create_->setDefault(true);
    setFocusProxy(create_);
}

QWidget* NewDocumentForm::sizeFields() {
    auto* fields = new QWidget(this);
    width_->setAccessibleName("Width");
    height_->setAccessibleName("Height");
    auto* layout = new QHBoxLayout(fields);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* turned = new QToolButton(fields);
    turned->setText("⇄");
    turned->setToolTip("Exchange width and height");
    connect(turned, &QToolButton::clicked, this, [this] { turn(); });
    layout->addWidget(width_, 1);
    layout->addWidget(turned);
    layout->addWidget(height_, 1);
    return fields;
}

void NewDocumentForm::arrange() {
    auto* ground = new QWidget(this);
    auto* groundLayout = new QHBoxLayout(ground);
    groundLayout->setContentsMargins(0, 0, 0, 0);
    groundLayout->addWidget(background_, 1);
    groundLayout->addWidget(colorButton_);

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow("Preset", preset_);
    form->addRow("Size", sizeFields());
    form->addRow("Unit", unit_);
    form->addRow("Resolution", resolution_);
    form->addRow("Background", ground);
    form->addRow("Profile", profile_);
    form->addRow("Depth", depth_);
    nameFields(*form);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(form);
    layout->addWidget(summary_);
    layout->addSpacing(12);
    layout->addWidget(create_);
    layout->addStretch(1);
}

void NewDocumentForm::takePreset(int index) {
    const int chosen = preset_->itemData(index).toInt();
    if (chosen == customPreset) return;
    const DocumentPreset& preset = documentPresets()[static_cast<std::size_t>(chosen)];
    const PixelSize size = preset.pixelSize();
    resolution_->blockSignals(true);
    resolution_->setValue(preset.resolution);
    resolution_->blockSignals(false);
    unit_->setCurrentIndex(static_cast<int>(preset.unit));
    width_->setPixels(static_cast<double>(size.width));
    height_->setPixels(static_cast<double>(size.height));
    unitChanged();
}

void NewDocumentForm::sizeEdited() {
    preset_->setCurrentIndex(0);
    showSummary();
}

void NewDocumentForm::unitChanged() {
    width_->setUnit(chosenUnit(*unit_), resolution_->value());
    height_->setUnit(chosenUnit(*unit_), resolution_->value());
    showSummary();
}

// Lengths on paper stay, and with them the number of pixels changes; pixels stay as they are.
void NewDocumentForm::resolutionChanged() {
    const LengthUnit unit = chosenUnit(*unit_);
    for (LengthField* field : {width_, height_}) {
        if (unit != LengthUnit::pixels)
            field->setPixels(pixelsOf(field->value(), unit, resolution_->value()));
        field->setUnit(unit, resolution_->value());
    }
    sizeEdited();
}

void NewDocumentForm::turn() {
    const double width = width_->pixels();
    width_->setPixels(height_->pixels());
    height_->setPixels(width);
    showSummary();
}

void NewDocumentForm::chooseColor() {
    auto* dialog = new QColorDialog(color_, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QColorDialog::colorSelected, this, [this](const QColor& color) {
        color_ = color;
        showColor();
    });
    dialog->show();
}

void NewDocumentForm::showColor() {
    colorButton_->setVisible(background_->currentIndex() == static_cast<int>(Ground::color));
    QPixmap swatch(16, 16);
    swatch.fill(color_);
    colorButton_->setIcon(swatch);
}

void NewDocumentForm::showSummary() {
    const PixelSize size = canvas().size;
    const std::int64_t bytes = size.width * size.height * bytesAPixel;
    summary_->setText(toQt(size.text()) + " px, " + memoryText(bytes) + " a full layer");
}

Canvas NewDocumentForm::canvas() const {
    return {.size = {width_->wholePixels(), height_->wholePixels()},
            .resolution = resolution_->value(),
            .profile = ColorProfile::builtIn()[static_cast<std::size_t>(profile_->currentIndex())],
            .bitDepth = static_cast<BitDepth>(depth_->currentIndex())};
}

DocumentState::Background NewDocumentForm::background() const {
    switch (static_cast<Ground>(background_->currentIndex())) {
    case Ground::white:
        return DocumentState::White{};
    case Ground::black:
        return DocumentState::Black{};
    case Ground::transparent:
        return DocumentState::Transparent{};
    case Ground::color:
        break;
    }
    const PremultipliedColor inSRGB =
        ColorMath::documentColorOf({color_.redF(), color_.greenF(), color_.blueF()});
    const auto conversion = ProfileConversion::between(ColorProfile::sRGB(), canvas().profile);
    return conversion ? conversion->apply(inSRGB.red, inSRGB.green, inSRGB.blue, inSRGB.alpha)
                      : inSRGB;
}

void NewDocumentForm::create() {
    remember();
    // The form may be gone when this returns.
    const Make make = make_;
    make(canvas(), background());
}

void NewDocumentForm::remember() {
    settings_.setJson(settingsKey, {{"width", width_->pixels()},
                                    {"height", height_->pixels()},
                                    {"unit", unit_->currentIndex()},
                                    {"resolution", resolution_->value()},
                                    {"background", background_->currentIndex()},
                                    {"color", fromQt(color_.name())},
                                    {"profile", profile_->currentIndex()},
                                    {"depth", depth_->currentIndex()},
                                    {"preset", preset_->currentIndex()}});
}

void NewDocumentForm::recall() {
    const Json last = settings_.json(settingsKey);
    const auto choose = [&](QComboBox* choice, const char* key) {
        const auto index = static_cast<int>(numberOf(last, key, 0));
        if (index > 0 && index < choice->count()) choice->setCurrentIndex(index);
    };
    choose(unit_, "unit");
    choose(background_, "background");
    choose(profile_, "profile");
    choose(depth_, "depth");
    if (last.is_null()) preset_->setCurrentIndex(preset_->findText("Full HD"));
    choose(preset_, "preset");
    if (last.is_object() && last.contains("color") && last["color"].is_string()) {
        const QColor color(toQt(last["color"].get<std::string>()));
        if (color.isValid()) color_ = color;
    }
    resolution_->setValue(numberOf(last, "resolution", 72));
    width_->setPixels(numberOf(last, "width", 1920));
    height_->setPixels(numberOf(last, "height", 1080));
    unitChanged();
    showColor();
}

void NewDocumentForm::showOn(QWidget& window, Settings& settings, const Make& make) {
    if (auto* there = window.findChild<QDialog*>(dialogName)) {
        there->raise();
        return there->activateWindow();
    }
    auto* dialog = new QDialog(&window);
    dialog->setObjectName(dialogName);
    dialog->setWindowTitle("New Document");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    auto* layout = new QVBoxLayout(dialog);
    layout->addWidget(new NewDocumentForm(
        settings,
        [dialog, make](const Canvas& canvas, const DocumentState::Background& background) {
            dialog->close();
            make(canvas, background);
        },
        dialog));
    dialog->show();
}

} // namespace ombrel
