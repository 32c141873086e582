#pragma once

#include "core/automation/Variant.h"

#include <QMap>
#include <QSet>
#include <QStringList>

#include <toml++/toml.h>
#include <vector>

/// What is wrong in a file, each with its line.
class Mistakes
{
public:
    explicit Mistakes(QString file);

    void Add(int line, const QString& what);
    bool IsEmpty() const { return m_Texts.isEmpty(); }
    /// "<file>:<line>: <what>" each, in the order of their lines.
    QStringList Texts() const;

private:
    QString m_File;
    QMultiMap<int, QString> m_Texts;
};

/// A table of a plant file. Asking for what has the wrong form notes a mistake and returns the fallback, so that one
/// reading finds all mistakes.
class FileTable
{
public:
    FileTable(const toml::table& table, Mistakes& mistakes);

    bool Has(const char* key) const { return m_Table->contains(key); }
    bool IsListOfTexts(const char* key) const;
    /// Whether nothing but finite numbers stands at the keys that there are: else asking for them notes a mistake.
    bool AreNumbers(std::initializer_list<const char*> keys) const;
    /// The line of a key, or of the table when it has no such key.
    int Line(const char* key) const;
    void Refuse(const char* key, const QString& what) const;
    void RefuseMissing(const char* key) const;

    QString Text(const char* key, const QString& fallback = {});
    /// A text that must be there and not be empty.
    QString Name(const char* key);
    bool Flag(const char* key, bool fallback);
    qint32 Integer(const char* key, qint32 lowest, qint32 highest, qint32 fallback);
    /// A finite one.
    double Number(const char* key, double fallback);
    /// The position of a text among those that may stand there.
    int Choice(const char* key, const QStringList& choices, int fallback);
    /// Integers as I4 (R8 beyond it), numbers as R8, times as DATE (local time), lists as arrays of variants; EMPTY
    /// when it is not there.
    Variant Value(const char* key);
    QList<Variant> Values(const char* key);
    QStringList Texts(const char* key);
    std::vector<FileTable> Tables(const char* key);
    /// Empty without a table of that name.
    std::vector<FileTable> OptionalTable(const char* key);

    /// Notes the keys that have not been asked for.
    void RefuseOthers() const;

private:
    template <typename T, typename Convert>
    auto Read(const char* key, const char16_t* form, decltype(std::declval<Convert>()(std::declval<T>())) fallback,
              Convert convert);
    Variant ToVariant(const toml::node& node);

    const toml::table* m_Table;
    Mistakes* m_Mistakes;
    QSet<QString> m_Known;
};
