#pragma once

#include "core/automation/Variant.h"
#include "server/plantfile/Mistakes.h"
#include "server/plantfile/RangeText.h"

#include <QStringList>

#include <toml++/toml.h>
#include <vector>

/// A table of a plant file, or a row of a file of tags. Asking for what has the wrong form notes a mistake and returns
/// the fallback, so that one reading finds all mistakes.
class FileTable
{
public:
    FileTable(const toml::table& table, Mistakes& mistakes);
    /// A row: texts, each of which is read as what it is asked for. Empty ones are not there.
    static FileTable Row(const toml::table& texts, Mistakes& mistakes, int line);
    /// The same with texts that may hold calculations with this number.
    FileTable WithNumber(const RangeNumber& number) const;

    bool Has(const char* key) const { return Find(key) != nullptr; }
    bool IsListOfTexts(const char* key) const;
    /// Whether nothing but finite numbers stands at the keys that there are: else asking for them notes a mistake.
    bool AreNumbers(std::initializer_list<const char*> keys) const;
    /// The line of a key, or of the table when it has no such key.
    int Line(const char* key) const;
    Place PlaceOf(const char* key) const { return {m_Mistakes, Line(key)}; }
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
    /// when it is not there. Texts that are numbers stay texts when they are `typed`: another conversion follows.
    Variant Value(const char* key, bool typed = false);
    QList<Variant> Values(const char* key);
    QStringList Texts(const char* key);
    std::vector<FileTable> Tables(const char* key);
    /// Empty without a table of that name.
    std::vector<FileTable> OptionalTable(const char* key);

    /// Notes the keys that have not been asked for.
    void RefuseOthers() const;
    /// The keys that have been asked for, whether they are there or not.
    const std::vector<const char*>& Known() const { return m_Known; }

private:
    void Know(const char* key);
    const toml::node* Find(const char* key) const;
    int LineOf(const toml::node& node) const;
    QString Filled(const char* key, const std::string& text) const;
    template <typename T>
    std::optional<T> As(const char* key, const toml::node& node) const;
    template <typename T, typename Convert>
    auto Read(const char* key, const char16_t* form, decltype(std::declval<Convert>()(std::declval<T>())) fallback,
              Convert convert);
    template <typename T>
    T ReadList(const char* key, T (FileTable::*read)(const char*));
    bool IsListInRow(const toml::node& node) const;
    Variant TextValue(const char* key, const std::string& text, bool typed) const;
    Variant ToVariant(const char* key, const toml::node& node, bool typed = false) const;

    const toml::table* m_Table;
    Mistakes* m_Mistakes;
    int m_Line = 0; ///< where all of it stands; 0: each part knows its own line
    bool m_IsRow = false;
    std::optional<RangeNumber> m_Number;
    std::vector<const char*> m_Known;
};
