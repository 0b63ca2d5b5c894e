#include "App/Look/Icons.h"

#include "App/Look/LucideIcons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

const LucideIcon* find(std::string_view name) {
    const std::vector<LucideIcon>& all = lucideIcons();
    const auto found = std::ranges::find(all, name, &LucideIcon::name);
    return found == all.end() ? nullptr : &*found;
}

QColor colorOf(QIcon::Mode mode, QIcon::State state) {
    if (mode == QIcon::Disabled) return Theme::color(ThemeColor::disabledIcon);
    if (mode == QIcon::Selected || state == QIcon::On)
        return Theme::color(ThemeColor::selectedText);
    return Theme::color(ThemeColor::icon);
}

void drawSvg(QPainter& painter, const LucideIcon& icon, const QRectF& rect, const QColor& color) {
    QByteArray svg(icon.svg.data(), static_cast<qsizetype>(icon.svg.size()));
    svg.replace("currentColor", color.name().toUtf8());
    QSvgRenderer(svg).render(&painter, rect);
}

void drawLetter(QPainter& painter, const QString& name, const QRectF& rect, const QColor& color) {
    painter.setPen(QPen(color, rect.width() / 16));
    const qreal inset = rect.width() / 12;
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), inset, inset);
    QFont font = painter.font();
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(rect.height() * 0.6))));
    painter.setFont(font);
    painter.drawText(rect, Qt::AlignCenter, name.left(1).toUpper());
}

class LucideEngine final : public QIconEngine {
public:
    explicit LucideEngine(QString name) : name_(std::move(name)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal scale = painter->device()->devicePixelRatioF();
        const QSizeF size = QSizeF(rect.size()) * scale;
        QPixmap drawn = pixmap(size.toSize(), mode, state);
        drawn.setDevicePixelRatio(scale);
        painter->drawPixmap(rect.topLeft(), drawn);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        const QColor color = colorOf(mode, state);
        const QString key = QStringLiteral("ombrel/%1/%2/%3x%4")
                                .arg(name_, color.name())
                                .arg(size.width())
                                .arg(size.height());
        QPixmap drawn;
        if (QPixmapCache::find(key, &drawn)) return drawn;
        drawn = QPixmap(size);
        drawn.fill(Qt::transparent);
        draw(drawn, color);
        QPixmapCache::insert(key, drawn);
        return drawn;
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                         qreal /*scale*/) override {
        return pixmap(size, mode, state); // the size is in device pixels already
    }
    QIconEngine* clone() const override { return new LucideEngine(name_); }
    QString iconName() override { return name_; }
    bool isNull() override { return false; }

private:
    void draw(QPixmap& into, const QColor& color) const {
        QPainter painter(&into);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal side = std::min(into.width(), into.height());
        const QRectF square((into.width() - side) / 2, (into.height() - side) / 2, side, side);
        const LucideIcon* known = find(fromQt(name_));
        if (known != nullptr) {
            drawSvg(painter, *known, square, color);
        } else {
            drawLetter(painter, name_, square, color);
        }
    }

    const QString name_;
};

} // namespace

QIcon icon(std::string_view lucideName) {
    return QIcon(new LucideEngine(toQt(lucideName))); // the icon owns its engine
}

bool hasIcon(std::string_view lucideName) {
    return find(lucideName) != nullptr;
}

} // namespace ombrel
