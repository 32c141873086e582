#pragma once

#include <QStringList>

#include <algorithm>
#include <functional>

/// Texts wherever they stand, for the time of the call that hands them on: of a million names no copy is made.
class TextList
{
public:
    /// `at` is asked for the texts 0 to `count` - 1, and may throw.
    TextList(qsizetype count, std::function<QStringView(qsizetype)> at)
        : m_Count(count)
        , m_At(std::move(at))
    {
    }
    /// The texts must live as long.
    static TextList Of(const QList<QString>& texts)
    {
        return {texts.size(), [&texts](qsizetype at) { return QStringView(texts[at]); }};
    }

    /// The first so many; all where there are no more.
    TextList First(qsizetype most) const { return {std::min(most, m_Count), m_At}; }

    qsizetype Count() const { return m_Count; }
    QStringView operator[](qsizetype at) const { return m_At(at); }

private:
    qsizetype m_Count;
    std::function<QStringView(qsizetype)> m_At;
};
