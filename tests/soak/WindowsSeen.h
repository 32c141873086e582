#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// Which kinds of windows, dialogs, bars and pop-ups have been on the screen, and how often when it was looked.
class WindowsSeen
{
public:
    void Look();
    const QMap<QString, int>& Counts() const { return m_Counts; }
    /// The kinds of the console that have not been seen.
    QStringList Missing() const;

private:
    QMap<QString, int> m_Counts;
};
