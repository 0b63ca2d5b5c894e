#include "App/Panels/StatusFields.h"

#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "Editor/DocumentSession.h"
#include "Tools/ViewNavigation.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <array>
#include <chrono>

namespace ombrel {

namespace {

constexpr std::chrono::seconds lookInterval{1};

QString percentText(double magnification) {
    const double percent = 100 * magnification;
    const int digits = percent < 1 ? 2 : percent < 100 ? 1 : 0;
    QString number = QString::number(percent, 'f', digits);
    while (number.contains(u'.') && (number.endsWith(u'0') || number.endsWith(u'.')))
        number.chop(1);
    return QStringLiteral("%1 %").arg(number);
}

/// The number in "150", "150 %" or "66,7%".
std::optional<double> percentOf(QString text) {
    text.remove(u'%');
    text.replace(u',', u'.');
    bool isNumber = false;
    const double percent = text.trimmed().toDouble(&isNumber);
    return isNumber && percent > 0 ? std::optional(percent) : std::nullopt;
}

} // namespace

QString memoryText(std::int64_t bytes) {
    constexpr std::array<const char*, 5> units{"KB", "MB", "GB", "TB", "PB"};
    double amount = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; amount >= 1000 && unit + 1 < units.size(); ++unit)
        amount /= 1024;
    const int digits = amount < 10 && unit > 1 ? 1 : 0;
    return QStringLiteral("%1 %2").arg(QString::number(amount, 'f', digits),
                                       QLatin1String(units[unit]));
}

StatusFields::StatusFields(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), store_(context.store), zoom_(new QLineEdit(this)),
      canvas_(new QLabel(this)), memory_(new QLabel(this)) {
    zoom_->setObjectName(QStringLiteral("zoom"));
    zoom_->setAccessibleName(QStringLiteral("Magnification"));
    zoom_->setToolTip(zoom_->accessibleName());
    zoom_->setFixedWidth(zoom_->fontMetrics().horizontalAdvance(QStringLiteral("12800.0 %")));
    canvas_->setObjectName(QStringLiteral("canvasText"));
    memory_->setObjectName(QStringLiteral("memory"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Spacing::tight, 0, Spacing::tight, 0);
    layout->setSpacing(Spacing::wide);
    for (QWidget* widget : {static_cast<QWidget*>(zoom_), static_cast<QWidget*>(canvas_),
                            static_cast<QWidget*>(memory_)})
        layout->addWidget(widget);
    look_.setSingleShot(true);
    look_.setInterval(lookInterval);
    connect(&look_, &QTimer::timeout, this, [this] { showMemory(); });
    connect(zoom_, &QLineEdit::editingFinished, this, [this] { takeZoom(); });
    connections_.push_back(session_->_viewTransform.observe([this](const auto&) { showZoom(); }));
    connections_.push_back(session_->_contentsScale.onChange([this](double) { showZoom(); }));
    connections_.push_back(session_->_state.observe([this](const DocumentState& state) {
        showCanvas(state.canvas);
        lookAtMemorySoon();
    }));
}

StatusFields::~StatusFields() = default;

void StatusFields::showZoom() {
    if (zoom_->isModified()) return; // somebody is typing
    const QString text = percentText(session_->_viewTransform->scale * *session_->_contentsScale);
    if (text != zoom_->text()) zoom_->setText(text);
}

void StatusFields::takeZoom() {
    const bool isTyped = zoom_->isModified();
    const std::optional<double> percent = percentOf(zoom_->text());
    zoom_->setModified(false);
    if (isTyped && percent) {
        const ViewTransform& view = *session_->_viewTransform;
        const RealPoint middle{view.viewportSize.width / 2, view.viewportSize.height / 2};
        const double scale = *percent / 100 / *session_->_contentsScale;
        session_->setViewTransform(
            ViewNavigation::zoomed(view, scale, middle, *session_->_contentsScale));
    }
    showZoom();
}

void StatusFields::showCanvas(const Canvas& canvas) {
    if (shownCanvas_ == canvas) return;
    shownCanvas_ = canvas;
    canvas_->setText(QStringLiteral("%1 × %2 px    %3    %4")
                         .arg(canvas.size.width)
                         .arg(canvas.size.height)
                         .arg(toQt(textOf(canvas.bitDepth)), toQt(canvas.profile.name())));
}

void StatusFields::lookAtMemorySoon() {
    if (isVisible() && !look_.isActive()) look_.start();
}

void StatusFields::showMemory() {
    const TileStore::Statistics now = store_.statistics();
    if (now == shownMemory_) return; // and that is all until something changes
    shownMemory_ = now;
    QStringList parts{memoryText(now.residentBytes)};
    if (now.compressedBytes > 0)
        parts += QStringLiteral("%1 compressed").arg(memoryText(now.compressedBytes));
    if (now.spilledBytes > 0)
        parts += QStringLiteral("%1 on disk").arg(memoryText(now.spilledBytes));
    memory_->setText(parts.join(QStringLiteral(" + ")));
    memory_->setToolTip(QStringLiteral("Memory of all open documents: %1 tiles, %2 of them "
                                       "resident, %3 compressed, %4 in the scratch file")
                            .arg(now.tileCount)
                            .arg(now.residentTiles)
                            .arg(now.compressedTiles)
                            .arg(now.spilledTiles));
    look_.start(); // maintenance goes on in the background
}

void StatusFields::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showMemory();
}

void StatusFields::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    look_.stop();
}

} // namespace ombrel
