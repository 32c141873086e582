#pragma once

#include <QDateTime>
#include <QMessageBox>
#include <QString>

/// A frame of the screen: what changes more often is not seen.
inline constexpr int FrameMs = 16;

namespace modAPI {

inline constexpr quint32 NORMAL_PRIORITY_CLASS = 32;
inline constexpr quint32 HIGH_PRIORITY_CLASS = 128;

} // namespace modAPI

/// The system that the console runs on; tests have their own.
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
    /// Shows a box that is ready and returns the button that ended it.
    virtual QMessageBox::StandardButton ShowBox(QMessageBox& box);
};
