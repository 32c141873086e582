#include "core/Platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <chrono>

#include <sys/resource.h>
#include <syslog.h>

namespace {

constexpr int HighPriorityNice = -10;
constexpr int NormalPriorityNice = 0;

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

QMessageBox::StandardButton Platform::ShowBox(QMessageBox& box)
{
    return static_cast<QMessageBox::StandardButton>(box.exec());
}
