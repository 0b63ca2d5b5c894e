#include "App/Color/ColorEditor.h"

#include "App/Color/ColorTrack.h"
#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScrubLabel.h"
#include "Base/Settings.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>
#include <cmath>

namespace ombrel {

namespace {

constexpr const char* kindKey = "colorPlane";      ///< "square" or "wheel"
constexpr const char* slidersKey = "colorSliders"; ///< "rgb" or "hsb"

bool isText(const Json& value, std::string_view text) {
    return value.is_string() && value.get<std::string>() == text;
}

QToolButton* makeButton(const char* objectName, const QString& words, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(QLatin1String(objectName));
    button->setAutoRaise(true);
    button->setToolTip(words);
    button->setAccessibleName(words);
    return button;
}

} // namespace

struct ColorEditor::Row {
    ColorComponent component;
    QWidget* frame;
    ColorTrack* track;
    QSpinBox* number;
};

ColorEditor::ColorEditor(Settings& settings, Sliders sliders, QWidget* parent)
    : QWidget(parent), settings_(settings), sliders_(sliders), plane_(new ColorPlane(this)),
      hueStrip_(new ColorTrack(ColorComponent::hue, Qt::Vertical, this)),
      brightnessStrip_(new ColorTrack(ColorComponent::brightness, Qt::Vertical, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Spacing::hair);
    makeHead();
    for (const ColorComponentRow& row : colorComponents)
        makeRow(row.component);
    makeCode();
    for (const char* key : {kindKey, slidersKey})
        connections_.push_back(settings_.onChange(key, [this](const Json&) { followSettings(); }));
    followSettings();
    refresh();
}

ColorEditor::~ColorEditor() = default;

void ColorEditor::makeHead() {
    auto* head = new QHBoxLayout;
    head->setSpacing(Spacing::tight);
    head->addWidget(plane_, 1);
    plane_->setObjectName(QStringLiteral("colorPlane"));
    hueStrip_->setObjectName(QStringLiteral("hueStrip"));
    brightnessStrip_->setObjectName(QStringLiteral("brightnessStrip"));
    plane_->onMove = [this](const ColorMath::Hsb& hsb) {
        PickedColor color = color_;
        color.setHsb(hsb);
        change(color);
    };
    plane_->onRelease = [this] { chosen(); };
    for (const auto& [strip, component] :
         {std::pair(hueStrip_, ColorComponent::hue),
          std::pair(brightnessStrip_, ColorComponent::brightness)}) {
        head->addWidget(strip);
        strip->onMove = [this, which = component](double value) {
            change(withComponent(color_, which, value));
        };
        strip->onRelease = [this] { chosen(); };
    }
    static_cast<QVBoxLayout*>(layout())->addLayout(head, 1);
}

void ColorEditor::setSide(QWidget* side) {
    auto* head = static_cast<QHBoxLayout*>(layout()->itemAt(0)->layout());
    head->insertWidget(0, side, 0, Qt::AlignTop);
}

void ColorEditor::setBesideCode(QWidget* widget) {
    auto* row = static_cast<QHBoxLayout*>(layout()->itemAt(layout()->count() - 1)->layout());
    row->insertWidget(row->count() - 2, widget); // the sign and the code are the last
}

void ColorEditor::makeRow(ColorComponent component) {
    const ColorComponentRow& words = rowOf(component);
    const QString name = QString::fromUtf8(words.name);
    auto* frame = new QWidget(this);
    auto* label = new ScrubLabel(QString::fromUtf8(words.letter), frame);
    label->setFixedWidth(label->fontMetrics().horizontalAdvance(u'H') + Spacing::hair);
    label->setToolTip(name);
    auto* track = new ColorTrack(component, Qt::Horizontal, frame);
    auto* number = new QSpinBox(frame);
    number->setObjectName(name.toLower());
    number->setAccessibleName(name);
    number->setRange(0, words.maximum);
    number->setSuffix(QString::fromUtf8(words.unit));
    number->setButtonSymbols(QAbstractSpinBox::NoButtons);
    number->setAlignment(Qt::AlignRight);
    number->setKeyboardTracking(false);
    number->setFixedWidth(number->fontMetrics().horizontalAdvance(QStringLiteral("100 %")) + 14);
    auto* row = new QHBoxLayout(frame);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Spacing::tight);
    for (QWidget* part : {static_cast<QWidget*>(label), static_cast<QWidget*>(track),
                          static_cast<QWidget*>(number)})
        row->addWidget(part);
    const auto take = [this, component](double value) {
        change(withComponent(color_, component, value));
    };
    track->onMove = take;
    track->onRelease = [this] { chosen(); };
    label->onBegin = [this, label, take, component] {
        const double start = std::round(componentOf(color_, component));
        label->onScrub = [take, start](double steps) { take(start + std::round(steps)); };
        label->onCancel = [take, start] { take(start); };
    };
    label->onEnd = [this] { chosen(); };
    connect(number, &QSpinBox::valueChanged, this, [this, take](int value) {
        take(value);
        chosen();
    });
    layout()->addWidget(frame);
    rows_.push_back({component, frame, track, number});
}

void ColorEditor::makeCode() {
    code_ = new QLineEdit(this);
    code_->setObjectName(QStringLiteral("hex"));
    code_->setAccessibleName(QStringLiteral("Hexadecimal code"));
    code_->setToolTip(code_->accessibleName());
    code_->setMaxLength(16);
    code_->setFixedWidth(code_->fontMetrics().horizontalAdvance(QStringLiteral("#DDDDDD")) + 16);
    connect(code_, &QLineEdit::editingFinished, this, [this] { takeCode(); });
    kindButton_ = makeButton("colorKind", QStringLiteral("Square or wheel"), this);
    connect(kindButton_, &QToolButton::clicked, this, [this] {
        const bool isSquare = plane_->kind() == ColorPlane::Kind::square;
        settings_.setJson(kindKey, isSquare ? "wheel" : "square");
    });
    auto* row = new QHBoxLayout;
    row->setSpacing(Spacing::tight);
    row->addWidget(kindButton_);
    if (sliders_ == Sliders::chosen) {
        slidersButton_ =
            makeButton("colorSliders",
                       QStringLiteral("Red, green, blue or hue, saturation, brightness"), this);
        connect(slidersButton_, &QToolButton::clicked, this, [this] {
            settings_.setJson(slidersKey,
                              isText(settings_.json(slidersKey), "hsb") ? "rgb" : "hsb");
        });
        row->addWidget(slidersButton_);
    }
    row->addStretch(1);
    auto* label = new QLabel(QStringLiteral("#"), this);
    label->setBuddy(code_);
    row->addWidget(label);
    row->addWidget(code_);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

void ColorEditor::followSettings() {
    const bool isWheel = isText(settings_.json(kindKey), "wheel");
    plane_->setKind(isWheel ? ColorPlane::Kind::wheel : ColorPlane::Kind::square);
    kindButton_->setIcon(ombrel::icon(isWheel ? "square" : "circle"));
    hueStrip_->setVisible(!isWheel);
    brightnessStrip_->setVisible(isWheel);
    const bool areHsb = isText(settings_.json(slidersKey), "hsb");
    for (const Row& row : rows_) {
        const bool isHsb = row.component >= ColorComponent::hue;
        row.frame->setVisible(sliders_ == Sliders::all || isHsb == areHsb);
    }
    if (slidersButton_ != nullptr) slidersButton_->setText(areHsb ? "HSB" : "RGB");
}

void ColorEditor::setColor(const PickedColor& color) {
    if (color == color_) return;
    color_ = color;
    refresh();
}

void ColorEditor::refresh() {
    plane_->setColor(color_);
    hueStrip_->setColor(color_);
    brightnessStrip_->setColor(color_);
    for (const Row& row : rows_) {
        row.track->setColor(color_);
        const QSignalBlocker blocker(row.number);
        row.number->setValue(static_cast<int>(std::lround(componentOf(color_, row.component))));
    }
    const QString code = toQt(color_.hex());
    if (code != code_->text()) code_->setText(code);
    code_->setModified(false);
}

void ColorEditor::change(const PickedColor& color) {
    if (color == color_) return;
    color_ = color;
    refresh();
    if (onChange) onChange(color_);
}

void ColorEditor::chosen() {
    if (onChosen) onChosen();
}

void ColorEditor::takeCode() {
    const bool isTyped = code_->isModified();
    const auto rgb = rgbOfHex(fromQt(code_->text()));
    if (isTyped && rgb) {
        PickedColor color = color_;
        color.setRgb(*rgb);
        change(color);
        chosen();
    }
    refresh();
}

} // namespace ombrel
