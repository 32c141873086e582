#include "core/DesktopColours.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// The desktop's portal, as far as it tells the colour scheme: dark.
class Portal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public Q_SLOTS:
    QDBusVariant Read(const QString&, const QString&)
    {
        return QDBusVariant(QVariant::fromValue(QDBusVariant(1U)));
    }
};

TEST(Desktop, IsFollowedWhenTheConsoleStartsAndWhenItChangesUnlessAThemeHasDoneIt)
{
    QProcess daemon;
    daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    ASSERT_TRUE(daemon.waitForReadyRead()) << daemon.errorString().toStdString();
    const QString address = QString::fromUtf8(daemon.readLine()).trimmed();
    auto bus = QDBusConnection::connectToBus(address, u"portal"_s);
    Portal portal;
    bus.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal, QDBusConnection::ExportAllSlots);
    ASSERT_TRUE(bus.registerService(u"org.freedesktop.portal.Desktop"_s));
    const auto change = [&](uint scheme) {
        auto signal = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                 u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal << u"org.freedesktop.appearance"_s << u"color-scheme"_s << QVariant::fromValue(QDBusVariant(scheme));
        bus.send(signal);
    };
    const auto window = [] { return QApplication::palette().color(QPalette::Window); };
    const QColor light = window(), dark = DesktopColours::DarkPalette().color(QPalette::Window);

    DesktopColours colours(QDBusConnection::connectToBus(address, u"console"_s));
    EXPECT_TRUE(QTest::qWaitFor([&] { return window() == dark; }));
    for (const uint scheme : {2U, 1U, 0U}) {
        change(scheme);
        EXPECT_TRUE(QTest::qWaitFor([&] { return window() == (scheme == 1 ? dark : light); })) << scheme;
    }
    QApplication::setPalette(QPalette(Qt::darkGreen, Qt::black)); // a theme's
    change(1);
    change(0);
    QTest::qWait(50);
    EXPECT_EQ(window(), QColor(Qt::black));

    QApplication::setPalette(QPalette());
    for (const QString& name : {u"console"_s, u"portal"_s}) QDBusConnection::disconnectFromBus(name);
    daemon.kill();
    daemon.waitForFinished();
}

#include "desktop_colours_test.moc"
