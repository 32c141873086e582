#pragma once

#include <QDateTime>
#include <QPointer>
#include <QString>

class QLineEdit;
class QWidget;

/// The operating-system functions that the console uses, replaceable in tests.
namespace modAPI {

inline constexpr quint32 NORMAL_PRIORITY_CLASS = 32;
inline constexpr quint32 HIGH_PRIORITY_CLASS = 128;

/// One operating system; the default is the one that the program runs on.
class Platform
{
public:
    virtual ~Platform();
    /// Milliseconds since some start, wrapping at 32 bits.
    virtual quint32 GetTickCount();
    virtual QDateTime GetLocalTime();
    /// The class as a nice value; a refusal by the system is ignored.
    virtual void SetPriorityClass(quint32 priorityClass);
    /// To the system's log at debug level.
    virtual void OutputDebugString(const QString& text);
    /// The folder where the program's own picture file is written: the program's folder, else the user's cache folder.
    virtual QString WritableProgramFolder();
    /// Nothing of the window is painted until it is unlocked.
    virtual void LockRedraw(QWidget* window, bool lock);
    /// Only digits can be typed into the field; pasted text still reaches the field's own check.
    virtual void SetNumberOnly(QLineEdit* field);
};

/// From now on `platform` serves all functions below; null goes back to the default. Returns the one before.
Platform* Replace(Platform* platform);

quint32 GetTickCount();
QDateTime GetLocalTime();
void SetPriorityClass(quint32 priorityClass);
void OutputDebugString(const QString& text);
QString WritableProgramFolder();
void SetNumberOnly(QLineEdit* field);

/// The window's redraw is frozen while this stands: what changes meanwhile comes to be seen in one piece.
class FrozenRedraw
{
public:
    explicit FrozenRedraw(QWidget* window);
    ~FrozenRedraw();
    Q_DISABLE_COPY_MOVE(FrozenRedraw)

private:
    QPointer<QWidget> m_Window;
};

} // namespace modAPI
