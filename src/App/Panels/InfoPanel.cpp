#include "App/Panels/InfoPanel.h"

#include "App/Color/PickedColor.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"
#include "App/Panels/StatusFields.h"
#include "App/Shell/LengthField.h"
#include "Base/Settings.h"
#include "Editor/DocumentPresets.h"
#include "Editor/DocumentSession.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <array>
#include <chrono>

namespace ombrel {

namespace {

constexpr std::chrono::milliseconds betweenLooks{33};
constexpr const char* formatKey = "infoFormat";
constexpr const char* unitKey = "infoUnit";

struct FormatRow {
    const char* key;
    const char* words;
};
constexpr std::array<FormatRow, 4> formats{{{"byte", "8 bits (0–255)"},
                                            {"word", "16 bits (0–65535)"},
                                            {"unit", "0 to 1"},
                                            {"linear", "Linear light"}}};

const QString nothing = QStringLiteral("–");

/// Of the tiles that the state holds, uncompressed; a tile in two places counts twice.
std::int64_t bytesOf(const DocumentState& state) {
    std::int64_t bytes = 0;
    for (const TileGrid& grid : state.allGrids())
        bytes += grid.pixelTileCount() * static_cast<std::int64_t>(bytesPerTile(grid.format()));
    return bytes;
}

} // namespace

/// The colour itself.
class InfoPanel::Patch : public QWidget {
public:
    explicit Patch(QWidget* parent) : QWidget(parent) { setFixedSize(18, 18); }

    void setColor(std::optional<QColor> color) {
        if (color == color_) return;
        color_ = color;
        update();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.fillRect(rect(), Theme::color(ThemeColor::edge));
        painter.fillRect(rect().adjusted(1, 1, -1, -1),
                         color_.value_or(Theme::color(ThemeColor::window)));
    }

private:
    std::optional<QColor> color_;
};

InfoPanel::InfoPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), settings_(context.settings),
      patch_(new Patch(this)), format_(new QComboBox(this)), unit_(makeUnitChoice(this)),
      work_(context.main, context.worker, betweenLooks, [this] { return sampling(); }) {
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(Spacing::normal, Spacing::tight, Spacing::normal, Spacing::tight);
    layout->setHorizontalSpacing(Spacing::tight);
    layout->setVerticalSpacing(Spacing::hair);
    makeChoices(*layout);
    int row = 1;
    for (const char* channel : {"R", "G", "B", "A"})
        addRow(*layout, row++, 0, channel, channel);
    row = 1;
    addRow(*layout, row++, 2, "#", "hex");
    addRow(*layout, row++, 2, "HSB", "hsb");
    addRow(*layout, row++, 2, "X", "x");
    addRow(*layout, row++, 2, "Y", "y");
    for (const auto& [words, name] : std::initializer_list<std::pair<const char*, const char*>>{
             {"Layer", "layer"}, {"Size", "size"}, {"Color", "color"}, {"Memory", "memory"}}) {
        QLabel* label = addRow(*layout, row, 0, words, name);
        layout->addWidget(label, row++, 1, 1, 3);
    }
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(3, 1);
    layout->setRowStretch(row, 1);
    connections_.push_back(
        session_->_pointerLocation.onChange([this](const auto&) { followPointer(); }));
    connections_.push_back(session_->_state.observe([this](const auto&) {
        showDocument();
        followPointer();
    }));
    showPoint(std::nullopt);
}

InfoPanel::~InfoPanel() = default;

void InfoPanel::makeChoices(QGridLayout& layout) {
    format_->setObjectName(QStringLiteral("infoFormat"));
    format_->setAccessibleName(QStringLiteral("Numbers of the document's colors"));
    format_->setToolTip(QStringLiteral("How the document's own colors are told: as its profile "
                                       "encodes them, or as linear light"));
    for (const FormatRow& row : formats) {
        format_->addItem(QString::fromUtf8(row.words));
        if (settings_.json(formatKey) == row.key) format_->setCurrentIndex(format_->count() - 1);
    }
    unit_->setObjectName(QStringLiteral("infoUnit"));
    unit_->setAccessibleName(QStringLiteral("Unit of places and sizes"));
    unit_->setToolTip(unit_->accessibleName());
    const Json unit = settings_.json(unitKey);
    for (int i = 0; i < unit_->count() && unit.is_string(); ++i) {
        if (unit.get<std::string>() == lengthUnits()[static_cast<std::size_t>(i)].name)
            unit_->setCurrentIndex(i);
    }
    for (QComboBox* box : {format_, unit_}) {
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(4);
    }
    connect(format_, &QComboBox::currentIndexChanged, this, [this](int index) {
        settings_.setJson(formatKey, formats[static_cast<std::size_t>(index)].key);
        showColor();
    });
    connect(unit_, &QComboBox::currentIndexChanged, this, [this] {
        settings_.setJson(unitKey, std::string(traitsOf(chosenUnit(*unit_)).name));
        shownCanvas_.reset();
        showDocument();
        showPlace();
    });
    layout.addWidget(format_, 0, 0, 1, 2);
    layout.addWidget(patch_, 0, 2);
    layout.addWidget(unit_, 0, 3);
}

QLabel* InfoPanel::addRow(QGridLayout& layout, int row, int column, const char* words,
                          const char* name) {
    auto* title = new QLabel(QString::fromUtf8(words), this);
    title->setForegroundRole(QPalette::PlaceholderText);
    auto* label = new QLabel(this);
    label->setObjectName(QLatin1String("info-") + QLatin1String(name));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setMinimumWidth(1);
    layout.addWidget(title, row, column);
    layout.addWidget(label, row, column + 1);
    labels_[name] = label;
    return label;
}

void InfoPanel::set(const char* name, const QString& text) {
    QLabel* label = labels_.at(name);
    if (label->text() != text) label->setText(text);
}

void InfoPanel::followPointer() {
    if (!isVisible()) return;
    if (*session_->_pointerLocation) {
        work_.wish();
    } else {
        work_.stop();
        showPoint(std::nullopt);
    }
}

FollowingWork::Job InfoPanel::sampling() {
    const std::optional<RealPoint> point = *session_->_pointerLocation;
    if (!point) return {};
    auto sampled = std::make_shared<PointInfo>();
    auto sample = [state = std::optional(*session_->_state), point = *point, sampled]() mutable {
        *sampled = infoAt(*state, point);
        state.reset(); // it ends here
        return true;
    };
    return {std::move(sample), [this, sampled] { showPoint(*sampled); }};
}

void InfoPanel::showPoint(const std::optional<PointInfo>& info) {
    info_ = info;
    set("layer", info && !info->layer.empty() ? toQt(info->layer) : nothing);
    showColor();
    showPlace();
}

void InfoPanel::showColor() {
    const bool isThere = info_ && info_->color.alpha > 0;
    const ColorProfile& profile = session_->_state->canvas.profile;
    const auto format = static_cast<InfoFormat>(format_->currentIndex());
    const auto texts = encoding_->textOf(isThere ? info_->color : PremultipliedColor{}, format);
    constexpr std::array<const char*, 3> channels{"R", "G", "B"};
    for (std::size_t i = 0; i < channels.size(); ++i)
        set(channels[i], QString::fromStdString(texts[i]));
    set("A", info_ ? QString::fromStdString(infoText(info_->color.alpha, format)) : nothing);
    patch_->setColor(isThere ? std::optional(screenColor(info_->color, profile)) : std::nullopt);
    if (!isThere) {
        set("hex", nothing);
        set("hsb", nothing);
        return;
    }
    const PickedColor screen(displayColor(info_->color, profile));
    const bool isBeyond = isBeyondScreen(info_->color, profile);
    set("hex", toQt(screen.hex()) + (isBeyond ? QStringLiteral(" (nearest)") : QString()));
    labels_.at("hex")->setToolTip(
        isBeyond ? QStringLiteral("The screen's colors (sRGB) lack this color") : QString());
    set("hsb", QStringLiteral("%1° %2 %3")
                   .arg(std::lround(screen.hsb().hue))
                   .arg(std::lround(100 * screen.hsb().saturation))
                   .arg(std::lround(100 * screen.hsb().brightness)));
}

void InfoPanel::showPlace() {
    const LengthUnit unit = chosenUnit(*unit_);
    const double resolution = session_->_state->canvas.resolution;
    const auto placeText = [&](std::int64_t pixel) {
        const QString inPixels = QStringLiteral("%1").arg(pixel);
        if (unit == LengthUnit::pixels) return inPixels;
        return QStringLiteral("%1   %2").arg(
            inPixels, lengthText(static_cast<double>(pixel), unit, resolution));
    };
    set("x", info_ ? placeText(info_->x) : nothing);
    set("y", info_ ? placeText(info_->y) : nothing);
}

void InfoPanel::showDocument() {
    const Canvas& canvas = session_->_state->canvas;
    if (isVisible()) set("memory", memoryText(bytesOf(*session_->_state)));
    if (shownCanvas_ == canvas) return;
    if (!shownCanvas_ || !(shownCanvas_->profile == canvas.profile))
        encoding_ = std::make_unique<InfoEncoding>(canvas.profile);
    shownCanvas_ = canvas;
    const LengthUnit unit = chosenUnit(*unit_);
    set("size",
        QStringLiteral("%1, %2 ppi").arg(sizeText(canvas, unit)).arg(canvas.resolution, 0, 'g', 6));
    set("color",
        QStringLiteral("%1, %2").arg(toQt(canvas.profile.name()), toQt(textOf(canvas.bitDepth))));
    labels_.at("color")->setToolTip(labels_.at("color")->text());
}

void InfoPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showDocument();
    followPointer();
}

void InfoPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    work_.stop();
}

} // namespace ombrel
