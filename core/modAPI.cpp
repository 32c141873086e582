#include "core/modAPI.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLineEdit>
#include <QStandardPaths>

#include <algorithm>
#include <chrono>
#include <utility>

#include <sys/resource.h>
#include <syslog.h>

namespace modAPI {

namespace {

constexpr int HighPriorityNice = -10;
constexpr int NormalPriorityNice = 0;

Platform g_Default;
Platform* g_Platform = &g_Default;

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// Drops typed characters that are no digits; everything else, paste included, goes its way.
class DigitsOnly : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::InputMethod)
            return Refuses(static_cast<QInputMethodEvent*>(event)->commitString());
        if (event->type() != QEvent::KeyPress) return false;
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool isCommand = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
        return !isCommand && Refuses(key->text());
    }

private:
    static bool Refuses(const QString& typed)
    {
        return std::any_of(typed.begin(), typed.end(),
                           [](QChar c) { return !IsDigit(c) && c.category() != QChar::Other_Control; });
    }
};

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
    // Ordinary users may not raise a priority: the console works as well without.
    ::setpriority(PRIO_PROCESS, 0, priorityClass == HIGH_PRIORITY_CLASS ? HighPriorityNice : NormalPriorityNice);
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

void Platform::LockRedraw(QWidget* window, bool lock)
{
    window->setUpdatesEnabled(!lock);
}

void Platform::SetNumberOnly(QLineEdit* field)
{
    field->setInputMethodHints(field->inputMethodHints() | Qt::ImhDigitsOnly);
    field->installEventFilter(new DigitsOnly(field));
}

Platform* Replace(Platform* platform)
{
    return std::exchange(g_Platform, platform ? platform : &g_Default);
}

quint32 GetTickCount()
{
    return g_Platform->GetTickCount();
}

QDateTime GetLocalTime()
{
    return g_Platform->GetLocalTime();
}

void SetPriorityClass(quint32 priorityClass)
{
    g_Platform->SetPriorityClass(priorityClass);
}

void OutputDebugString(const QString& text)
{
    g_Platform->OutputDebugString(text);
}

QString WritableProgramFolder()
{
    return g_Platform->WritableProgramFolder();
}

void SetNumberOnly(QLineEdit* field)
{
    g_Platform->SetNumberOnly(field);
}

FrozenRedraw::FrozenRedraw(QWidget* window)
    : m_Window(window)
{
    if (m_Window) g_Platform->LockRedraw(m_Window, true);
}

FrozenRedraw::~FrozenRedraw()
{
    if (m_Window) g_Platform->LockRedraw(m_Window, false);
}

} // namespace modAPI
