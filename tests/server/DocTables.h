#pragma once

#include "tests/server/ServerRun.h"

/// The rows of the table below a heading of docs/server.md; there is one at least.
inline QList<QStringList> TableBelow(const QString& heading)
{
    const QString table = ContentOf(QStringLiteral(VELSQL_DOCS "/server.md"))
                              .section(u"### "_s + heading + u'\n', 1)
                              .section(u"\n|---"_s, 1)
                              .replace(u"\\|"_s, u"|"_s);
    QList<QStringList> rows;
    for (const QString& line : table.section(u"\n\n"_s, 0, 0).trimmed().split(u'\n').mid(1))
        rows << line.mid(2, line.size() - 3).split(u"| "_s);
    EXPECT_FALSE(rows.isEmpty()) << heading.toStdString();
    return rows;
}

/// The texts between backticks.
inline QStringList Codes(const QString& cell)
{
    static const QRegularExpression code(u"`([^`]*)`"_s);
    QStringList codes;
    for (const auto& match : code.globalMatch(cell)) codes << match.captured(1);
    return codes;
}

/// What a cell expects: values, or the reason of a failure, as an item tells it.
inline QString Expected(const QString& cell)
{
    const QString failure = cell.section(u"fails: "_s, 1).trimmed();
    return failure.isEmpty() ? Codes(cell).join(u' ') : failure + u'.';
}
