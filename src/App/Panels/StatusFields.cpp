#include "App/Panels/StatusFields.h"

#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ZoomField.h"
#include "App/Shell/LengthField.h"
#include "Base/Settings.h"
#include "Editor/DocumentSession.h"

#include <QHBoxLayout>
#include <QLabel>
#include <array>
#include <chrono>

namespace ombrel {

namespace {

constexpr std::chrono::seconds lookInterval{1};

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
    : QWidget(parent), session_(context.session), store_(context.store),
      settings_(context.settings), zoom_(new ZoomField(context.session, this)),
      canvas_(new QLabel(this)), memory_(new QLabel(this)) {
    zoom_->setObjectName(QStringLiteral("zoom"));
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
    connections_.push_back(session_->_state.observe([this](const DocumentState& state) {
        showCanvas(state.canvas);
        lookAtMemorySoon();
    }));
    connections_.push_back(settings_.onChange(SettingKeys::lengthUnit.name, [this](const Json&) {
        shownCanvas_.reset();
        showCanvas(session_->_state->canvas);
    }));
}

StatusFields::~StatusFields() = default;

void StatusFields::showCanvas(const Canvas& canvas) {
    if (shownCanvas_ == canvas) return;
    shownCanvas_ = canvas;
    canvas_->setText(QStringLiteral("%1    %2    %3")
                         .arg(sizeText(canvas, unitOf(settings_)), toQt(textOf(canvas.bitDepth)),
                              toQt(canvas.profile.name())));
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
