#pragma once

#include <QByteArray>
#include <QString>

#include <mutex>

/// A log file that only this user may read. At 10 MB it becomes FILE.1, the old FILE.1 becomes FILE.2, and the old
/// FILE.2 is deleted. Several servers may write to one file; it is created again when it has been deleted.
class LogFile
{
public:
    /// Throws DescribedError when the file cannot be written.
    explicit LogFile(const QString& path);
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile();

    /// May be called from any thread. Failures cannot be reported anywhere.
    void Write(const QByteArray& line);
    /// From now on, what libraries write to standard error goes to the file.
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
