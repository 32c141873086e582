#pragma once

#include <QDateTime>
#include <QMessageBox>
#include <QString>
#include <QUrl>

#include <functional>

/// A frame of the screen: faster changes cannot be seen.
inline constexpr int FrameMs = 16;

namespace modAPI {

inline constexpr quint32 NORMAL_PRIORITY_CLASS = 32;
inline constexpr quint32 HIGH_PRIORITY_CLASS = 128;

} // namespace modAPI

/// The system that the console runs on; tests have one of their own.
class Platform
{
public:
    virtual ~Platform();
    /// Milliseconds since some fixed start, wrapping at 32 bits.
    virtual quint32 GetTickCount();
    virtual QDateTime GetLocalTime();
    /// The class as a nice value; ignored when the system refuses it.
    virtual void SetPriorityClass(quint32 priorityClass);
    /// Writes to the system's log at debug level.
    virtual void OutputDebugString(const QString& text);
    /// The folder for the program's picture file: the program's own folder, else the user's cache folder.
    virtual QString WritableProgramFolder();
    /// The folder of the guide's pages, whether it is there or not.
    virtual QString GuideFolder();
    /// Opens a page in the desktop's browser and returns at once. Where nothing opens it `orElse` is called, now or soon.
    virtual void OpenInBrowser(const QUrl& page, const std::function<void()>& orElse);
    /// Shows a prepared box and returns the button that closed it.
    virtual QMessageBox::StandardButton ShowBox(QMessageBox& box);
};
