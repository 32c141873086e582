#pragma once

#include <QFile>
#include <QTemporaryFile>

/// Where the rows of a query go: standard output, or a file that is written beside the one named, if possible without a
/// name of its own, and takes its place when it is complete. What is no plain file (a pipe, a device) is written to as
/// it is.
class QueryOutput
{
public:
    /// "-" is standard output. From now on SIGINT, SIGTERM and SIGHUP leave no unfinished file. To be constructed once.
    /// Throws DescribedError when the file cannot be made.
    explicit QueryOutput(const QString& path);
    QueryOutput(const QueryOutput&) = delete;
    QueryOutput& operator=(const QueryOutput&) = delete;
    /// What was written is dropped unless Commit was called.
    ~QueryOutput();

    bool IsStandardOutput() const { return m_Path == QStringLiteral("-"); }
    const QString& Path() const { return m_Path; }
    /// Throws DescribedError.
    void Write(const QByteArray& bytes);
    /// Puts the file into its place. Throws DescribedError.
    void Commit();

private:
    void OpenAsItIs();
    void OpenBeside();
    [[noreturn]] void Fail(const QFile& file) const;

    const QString m_Path;
    QFile m_Direct; ///< not a plain file
    QTemporaryFile m_Beside;
    QFile* m_File = nullptr; ///< one of the two; none for standard output
    QString m_Target;        ///< where links lead to
};
