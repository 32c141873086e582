#pragma once

#include <QByteArray>
#include <QString>

#include <mutex>

/// A log in a file that only this user may read. At 10 MB it becomes FILE.1, that one FILE.2, and what was FILE.2 goes.
/// Several servers may write to one file; it is made again after it has been deleted.
class LogFile
{
public:
    /// Throws DescribedError when it cannot be written.
    explicit LogFile(const QString& path);
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile();

    /// From any thread. Failures have nowhere to be reported.
    void Write(const QByteArray& line);
    /// What libraries say to standard error goes to the file from now on.
    void TakeStandardError();

private:
    bool Open();
    bool IsThere(qint64& size) const;
    void Rotate();

    const QByteArray m_Path;
    std::mutex m_Mutex;
    int m_File = -1;
    bool m_TakesStandardError = false;
};
