#include "App/Panels/ZoomField.h"

#include "App/Panels/ViewChange.h"

#include <optional>

namespace ombrel {

namespace {

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

ZoomField::ZoomField(std::shared_ptr<DocumentSession> session, QWidget* parent)
    : QLineEdit(parent), session_(std::move(session)) {
    setAccessibleName(QStringLiteral("Magnification"));
    setToolTip(accessibleName());
    setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("12800.0 %")));
    connect(this, &QLineEdit::editingFinished, this, [this] { takeZoom(); });
    connections_.push_back(session_->_viewTransform.observe([this](const auto&) { showZoom(); }));
    connections_.push_back(session_->_contentsScale.onChange([this](double) { showZoom(); }));
}

void ZoomField::showZoom() {
    if (isModified()) return; // somebody is typing
    const QString shown = percentText(session_->_viewTransform->scale * *session_->_contentsScale);
    if (shown != text()) setText(shown);
}

void ZoomField::takeZoom() {
    const bool isTyped = isModified();
    const std::optional<double> percent = percentOf(text());
    setModified(false);
    if (isTyped && percent)
        changeView(*session_, [&](CanvasNavigation& view) { view.zoomTo(*percent / 100); });
    showZoom();
}

} // namespace ombrel
