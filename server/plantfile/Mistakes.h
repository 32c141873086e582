#pragma once

#include <QMap>
#include <QStringList>

#include <deque>

/// What is wrong in a plant file and in the files that it names, each with its line.
class Mistakes
{
public:
    explicit Mistakes(QString file);

    void Add(int line, const QString& what);
    /// Those of a file that this one names.
    Mistakes& Of(const QString& file);
    bool IsEmpty() const;
    /// "<file>:<line>: <what>" each, in the order of their lines, then those of the other files. Of very many the
    /// first ones, and that there are more.
    QStringList Texts() const;

private:
    QString m_File;
    QMap<int, QStringList> m_Texts; ///< by line
    qsizetype m_Count = 0;
    bool m_HasMore = false;
    std::deque<Mistakes> m_Others;
};

/// Where a mistake is noted that is found later on.
struct Place
{
    Mistakes* File = nullptr;
    int Line = 0;

    void Refuse(const char* key, const QString& what) const;
};
