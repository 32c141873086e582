#pragma once

#include <QString>

/// The names of everything that stands for one history in a database, and statements that use them.
class LayoutNames
{
public:
    /// `table` may be "<schema>.<table>". What belongs to velsql_history begins with "velsql_", what belongs to another
    /// table with its name and "_".
    explicit LayoutNames(const QString& table);

    /// The statement with {history} replaced by the table's own name, {zone} by this machine's time zone, and any other
    /// {word} by the name of that part of the history, all of them quoted.
    QString Fill(const QString& statement) const;
    /// The name of a part, without quotes and schema.
    QString Bare(const QString& part) const;
    /// In quotes, with its schema.
    QString Of(const QString& part) const;
    /// A text in quotes.
    static QString Literal(const QString& text);

private:
    QString m_Schema; ///< in quotes with a point behind it, or empty
    QString m_Table;
};
