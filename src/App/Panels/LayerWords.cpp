#include "App/Panels/LayerWords.h"

#include "App/Look/QtText.h"

#include <QStringList>
#include <cmath>

namespace ombrel {

namespace {

QString kindWord(const LayerNode& node) {
    const PixelLayer* layer = node.pixelLayer();
    if (layer == nullptr) return QStringLiteral("group");
    if (layer->shape) return QStringLiteral("shape layer");
    if (layer->text) return QStringLiteral("text layer");
    return layer->instance ? QStringLiteral("instance layer") : QStringLiteral("layer");
}

QString maskWords(const LayerMask& mask) {
    const QString words =
        mask.isEnabled ? QStringLiteral("masked") : QStringLiteral("mask turned off");
    return mask.isLinked ? words : words + QStringLiteral(", mask not linked");
}

} // namespace

QString blendWords(const LayerProperties& properties) {
    QStringList words;
    if (properties.blendMode != BlendMode::normal)
        words += toQt(displayNameOf(properties.blendMode));
    const long percent = std::lround(100 * properties.opacity);
    if (percent != 100) words += QStringLiteral("%1 %").arg(percent);
    return words.join(QStringLiteral(", "));
}

QString spokenWords(const LayerNode& node) {
    const LayerProperties& properties = node.properties();
    QStringList words{toQt(properties.name), kindWord(node)};
    words += properties.isVisible ? QStringLiteral("visible") : QStringLiteral("hidden");
    const QString blending = blendWords(properties);
    if (!blending.isEmpty()) words += blending;
    if (properties.locks == LayerLocks::all) {
        words += QStringLiteral("locked");
    } else if (properties.locks.rawValue != 0) {
        words += QStringLiteral("partly locked");
    }
    if (properties.clipsToBelow) words += QStringLiteral("clipped");
    if (node.mask()) words += maskWords(*node.mask());
    return words.join(QStringLiteral(", "));
}

} // namespace ombrel
