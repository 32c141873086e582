#pragma once

#include "core/automation/Errors.h"

#include <QStringList>

/// What was promised and does not hold.
class BrokenPromise : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// Everything that happens in a run, line by line with its time: two runs of a seed have the same.
class Trace
{
public:
    /// Keeps its last lines only, unless it is to be shown.
    explicit Trace(bool keepsAll)
        : m_KeepsAll(keepsAll)
    {
    }

    void Note(const QString& text);
    /// Notes what is not as it should be; the first one counts. Throws nothing, so anybody may call it.
    void Require(bool holds, const QString& what);
    /// Throws BrokenPromise when something did not hold.
    void Check() const;

    quint64 Hash() const { return m_Hash; }
    qint64 Count() const { return m_Count; }
    const QStringList& Lines() const { return m_Lines; }

private:
    const bool m_KeepsAll;
    QStringList m_Lines;
    qint64 m_Count = 0;
    quint64 m_Hash = 0xCBF29CE484222325;
    QString m_Broken;
};
