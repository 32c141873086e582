#include "core/modAPI.h"

#include "core/modMain.h"

#include <QKeyEvent>
#include <QLineEdit>

#include <algorithm>

namespace modAPI {

namespace {

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// Drops typed characters that are not digits; everything else, including paste, passes.
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

quint32 GetTickCount()
{
    return modMain::GetPlatform().GetTickCount();
}

QDateTime GetLocalTime()
{
    return modMain::GetPlatform().GetLocalTime();
}

void SetPriorityClass(quint32 priorityClass)
{
    modMain::GetPlatform().SetPriorityClass(priorityClass);
}

void OutputDebugString(const QString& text)
{
    modMain::GetPlatform().OutputDebugString(text);
}

QString WritableProgramFolder()
{
    return modMain::GetPlatform().WritableProgramFolder();
}

void SetNumberOnly(QLineEdit* field)
{
    field->setInputMethodHints(field->inputMethodHints() | Qt::ImhDigitsOnly);
    field->installEventFilter(new DigitsOnly(field));
}

FrozenRedraw::FrozenRedraw(QWidget* window)
    : m_Window(window)
{
    if (m_Window) m_Window->setUpdatesEnabled(false);
}

FrozenRedraw::~FrozenRedraw()
{
    if (m_Window) m_Window->setUpdatesEnabled(true);
}

} // namespace modAPI
