#pragma once

#include <QByteArray>

/// A pipe whose writing end another process gets: what is not read stays in it and holds the writer back.
class OutputPipe
{
public:
    /// Throws DescribedError when the system has no more to give.
    OutputPipe();
    ~OutputPipe();
    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    int ReadingEnd() const { return m_Ends[0]; }
    int WritingEnd() const { return m_Ends[1]; }
    void CloseWritingEnd();
    /// What is there now, at most `bytes`; never waits. Empty when nothing is there.
    QByteArray Read(qsizetype bytes);
    /// Nobody writes any more, and all was read.
    bool IsAtEnd() const { return m_AtEnd; }

private:
    int m_Ends[2];
    bool m_AtEnd = false;
};
