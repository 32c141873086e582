#include "core/Platform.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <chrono>

#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr int HighPriorityNice = -10;
constexpr int NormalPriorityNice = 0;
/// A browser that stays in front of its opener ends with a code of its own, long after it has opened the page.
constexpr int LongestOpeningMs = 10'000;

/// xdg-open says whether anything opened the page, which Qt does not wait to hear.
void RunOpener(const QString& opener, const QUrl& page, const std::function<void()>& orElse)
{
    auto* process = new QProcess; // never owned by the console: the browser outlives it
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { // it has neither the console's terminal nor the priority of a measurement
        ::setsid();
        ::setpriority(PRIO_PROCESS, 0, NormalPriorityNice);
    });
    QElapsedTimer opening;
    opening.start();
    QObject::connect(process, &QProcess::finished, process, [=](int code) {
        process->deleteLater();
        if (code != 0 && opening.elapsed() < LongestOpeningMs) orElse();
    });
    QObject::connect(process, &QProcess::errorOccurred, process, [=](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart) return; // else it finishes
        process->deleteLater();
        orElse();
    });
    process->start(opener, {page.toString(QUrl::FullyEncoded)});
}

} // namespace

Platform::~Platform() = default;

quint32 Platform::GetTickCount()
{
    using namespace std::chrono;
    return static_cast<quint32>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

QDateTime Platform::GetLocalTime()
{
    return QDateTime::currentDateTime();
}

void Platform::SetPriorityClass(quint32 priorityClass)
{
    // Ordinary users may not raise a priority; the console works without it.
    ::setpriority(PRIO_PROCESS, 0,
                  priorityClass == modAPI::HIGH_PRIORITY_CLASS ? HighPriorityNice : NormalPriorityNice);
}

void Platform::OutputDebugString(const QString& text)
{
    ::syslog(LOG_USER | LOG_DEBUG, "%s", text.toUtf8().constData());
}

QString Platform::WritableProgramFolder()
{
    const QString own = QCoreApplication::applicationDirPath();
    if (QFileInfo(own).isWritable()) return own;
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    QDir().mkpath(cache);
    return cache;
}

QString Platform::GuideFolder()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/" VELSQL_GUIDE));
}

void Platform::OpenInBrowser(const QUrl& page, const std::function<void()>& orElse)
{
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (!opener.isEmpty()) RunOpener(opener, page, orElse);
    else if (!QDesktopServices::openUrl(page)) orElse();
}

QMessageBox::StandardButton Platform::ShowBox(QMessageBox& box)
{
    return static_cast<QMessageBox::StandardButton>(box.exec());
}
