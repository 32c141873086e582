#pragma once

#include <QByteArray>

/// A pipe whose writing end goes to another process: unread bytes stay in it and make the writer wait.
class OutputPipe
{
public:
    /// Throws DescribedError when the system has no descriptors left.
    OutputPipe();
    ~OutputPipe();
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    int ReadingEnd() const { return m_Ends[0]; }
    int WritingEnd() const { return m_Ends[1]; }
    void CloseWritingEnd();
    /// The bytes that have arrived, at most `bytes`, possibly none; never waits.
    QByteArray Read(qsizetype bytes);
    /// True when all writers have closed it and everything has been read.
    bool IsAtEnd() const { return m_AtEnd; }

private:
    int m_Ends[2];
    bool m_AtEnd = false;
};
