#include "core/DesktopColours.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>

namespace {

const QString Service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString Path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString Interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString Group = QStringLiteral("org.freedesktop.appearance");
const QString Key = QStringLiteral("color-scheme");
/// The values of the key: 0 is no wish, 1 dark, 2 light.
constexpr uint PreferDark = 1;

/// Asking for the session's bus where there is none would start one.
bool HasSessionBus()
{
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
           QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

bool IsDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

} // namespace

DesktopColours::DesktopColours(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
{
    // QtDBus knows the type only after its first message, and refuses a slot with a type that it does not know.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection(bus).connect(Service, Path, Interface, QStringLiteral("SettingChanged"), this,
                                 SLOT(SettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage question = QDBusMessage::createMethodCall(Service, Path, Interface, QStringLiteral("Read"));
    question << Group << Key;
    connect(new QDBusPendingCallWatcher(bus.asyncCall(question), this), &QDBusPendingCallWatcher::finished, this,
            &DesktopColours::Answered);
}

void DesktopColours::FollowSession(QObject* parent)
{
    if (HasSessionBus()) new DesktopColours(QDBusConnection::sessionBus(), parent);
}

void DesktopColours::Answered(QDBusPendingCallWatcher* call)
{
    const QDBusPendingReply<QDBusVariant> answer = *call;
    if (answer.isValid()) Use(answer.value().variant());
    call->deleteLater();
}

void DesktopColours::SettingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == Group && key == Key) Use(value.variant());
}

/// The answer to Read is wrapped once more than the signal's value.
void DesktopColours::Use(const QVariant& scheme)
{
    if (scheme.canConvert<QDBusVariant>()) return Use(scheme.value<QDBusVariant>().variant());
    const bool wantsDark = scheme.toUInt() == PreferDark;
    if (wantsDark == m_IsDark || (wantsDark && IsDark(QApplication::palette()))) return;
    m_IsDark = wantsDark;
    QApplication::setPalette(wantsDark ? DarkPalette() : QPalette());
}

QPalette DesktopColours::DarkPalette()
{
    QPalette palette(QColor(45, 45, 48));
    for (const auto& [role, color] : {std::pair(QPalette::Base, QColor(30, 30, 30)),
                                      {QPalette::AlternateBase, QColor(45, 45, 48)},
                                      {QPalette::Highlight, QColor(38, 110, 180)},
                                      {QPalette::HighlightedText, Qt::white},
                                      {QPalette::ToolTipBase, QColor(30, 30, 30)},
                                      {QPalette::ToolTipText, Qt::white},
                                      {QPalette::Link, QColor(90, 160, 230)}})
        palette.setColor(role, color);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(135, 135, 135));
    return palette;
}
