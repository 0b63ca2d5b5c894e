#include "App/Look/SystemScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace ombrel {

namespace {

constexpr uint wantsLight = 2; ///< of a number that has no other meaning for us

ThemeKind& knownKind() {
    static ThemeKind kind = ThemeKind::dark;
    return kind;
}

/// A value may lie in one variant or in two.
QVariant plain(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

void take(ThemeKind kind, const std::function<void()>& onChange) {
    if (kind == std::exchange(knownKind(), kind)) return;
    onChange();
}

} // namespace

ThemeKind SystemScheme::known() {
    return knownKind();
}

void SystemScheme::setKnown(ThemeKind kind) {
    knownKind() = kind;
}

void SystemScheme::ask(QObject& context, std::function<void()> onChange) {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return take(ThemeKind::dark, onChange);
    QDBusMessage question = QDBusMessage::createMethodCall(
        "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
        "org.freedesktop.portal.Settings", "Read");
    question.setAutoStartService(false);
    question << "org.freedesktop.appearance" << "color-scheme";
    auto* waiting =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), &context);
    QObject::connect(waiting, &QDBusPendingCallWatcher::finished, &context,
                     [waiting, onChange = std::move(onChange)] {
                         waiting->deleteLater();
                         const QDBusPendingReply<QDBusVariant> answer = *waiting;
                         if (answer.isError() && answer.error().type() == QDBusError::NoReply)
                             return; // it may be busy: what is known holds
                         const uint wish =
                             answer.isValid() ? plain(answer.argumentAt(0)).toUInt() : 0;
                         take(wish == wantsLight ? ThemeKind::light : ThemeKind::dark, onChange);
                     });
}

} // namespace ombrel
