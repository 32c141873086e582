#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QPalette>

class QDBusConnection;
class QDBusPendingCallWatcher;

/// Makes the console dark while the desktop asks for dark windows, which this version of Qt does not do by itself.
/// What a theme of Qt has already made dark stays as it is.
class DesktopColours : public QObject
{
    Q_OBJECT

public:
    /// Asks the desktop portal on this bus and waits for nothing: without an answer the colours stay.
    explicit DesktopColours(const QDBusConnection& bus, QObject* parent = nullptr);
    /// Follows the portal of the user's session, if there is one; starts no bus.
    static void FollowSession(QObject* parent);

    static QPalette DarkPalette();

private Q_SLOTS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void Answered(QDBusPendingCallWatcher* call);
    void Use(const QVariant& scheme);

    bool m_IsDark = false;
};
