#include "App/Look/SystemScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace ombrel {

namespace {

constexpr int longestAnswer = 100; ///< milliseconds

/// A value may lie in one variant or in two.
QVariant plain(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

std::optional<ThemeKind> SystemScheme::wanted() {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return std::nullopt;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return std::nullopt;
    QDBusMessage question = QDBusMessage::createMethodCall(
        "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
        "org.freedesktop.portal.Settings", "Read");
    question.setAutoStartService(false);
    question << "org.freedesktop.appearance" << "color-scheme";
    const QDBusMessage answer = bus.call(question, QDBus::Block, longestAnswer);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty())
        return std::nullopt;
    switch (plain(answer.arguments().first()).toUInt()) {
    case 1:
        return ThemeKind::dark;
    case 2:
        return ThemeKind::light;
    default:
        return std::nullopt;
    }
}

} // namespace ombrel
