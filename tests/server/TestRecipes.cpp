#include "tests/server/AskedHistory.h"
#include "tests/server/DocTables.h"
#include "tests/support/PostgresRun.h"

#include <QRegularExpression>

namespace {

/// A statement of docs/guide/history.md as a database takes it, and the answer that stands below.
struct Recipe
{
    QString Name;
    QString SqlitesStatement;
    QString PostgresStatement;
    QString Answer;

    bool IsOfToday() const { return SqlitesStatement.contains(u"'now'"_s); }
};

Recipe ReadRecipe(const QString& text)
{
    static const QRegularExpression block(u"```sql\\n(.*?)```"_s, QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression ends(u"(^\\| | \\|$)"_s);
    QStringList statements, lines;
    for (const auto& match : block.globalMatch(text)) statements << match.captured(1);
    for (const QString& line : text.split(u'\n'))
        if (line.startsWith(u"| "_s)) lines << QString(line).remove(ends).replace(u" | "_s, u","_s);
    return {text.section(u'\n', 0, 0), statements.value(0), statements.value(statements.size() - 1), lines.join(u'\n')};
}

QList<Recipe> Recipes()
{
    const QString manual = ContentOf(QStringLiteral(VELSQL_DOCS "/guide/history.md"));
    QList<Recipe> recipes;
    for (const QString& text : manual.split(u"\n### "_s).mid(1)) recipes << ReadRecipe(text);
    EXPECT_GE(recipes.size(), 8);
    return recipes;
}

/// SQLite's times keep them, PostgreSQL's do not.
const QString s_Decimals = u".000000"_s;

/// The records of an item as values and times, such as "62.5 06:00 78 06:05", as rows of the table.
QStringList Rows(const QString& item, const QDate& day, const QString& records)
{
    QStringList rows;
    const QStringList words = records.split(u' ');
    for (qsizetype i = 0; i < words.size(); i += 2)
        rows << u"('%1','%2','%3 %4:00.000000')"_s.arg(QString(item).replace(u"\\"_s, u"','"_s), words[i],
                                                       day.toString(Qt::ISODate), words[i + 1]);
    return rows;
}

/// The small plant of the document.
QStringList OneMorning()
{
    const QDate day(2024, 1, 31);
    return Rows(u"PLC1\\Level"_s, day, u"62.5 06:00 78 06:05 84.5 06:10 79 06:15 81 06:45 80 06:50 75 07:10"_s) +
           Rows(u"PLC1\\Temperature"_s, day, u"21.5 06:00 22 06:30 24.25 07:00"_s) +
           Rows(u"PLC1\\Recipe"_s, day, u"Cola 06:00 Lemonade 07:05"_s) + Rows(u"Archive\\Batch"_s, day, u"12 06:20"_s);
}

/// The same plant lately.
QStringList Lately()
{
    const QDateTime now = QDateTime::currentDateTime();
    const QDate today = now.date();
    QStringList rows = Rows(u"PLC1\\Level"_s, today.addDays(-2), u"50 07:00"_s) +
                       Rows(u"PLC1\\Level"_s, today.addDays(-1), u"62.5 06:00 66 06:30 66 07:00 67.5 08:00"_s) +
                       Rows(u"PLC1\\Level"_s, today, u"71.5 06:15 70 07:00"_s);
    for (const auto& [value, minutes] : {std::pair(u"21 "_s, 90), {u"22.5 "_s, 30}, {u"23 "_s, 5}}) {
        const QDateTime time = now.addSecs(-60 * minutes);
        rows += Rows(u"PLC1\\Temperature"_s, time.date(), value + time.toString(u"hh:mm"_s));
    }
    return rows;
}

/// What the database answers to all recipes is what the document says.
void ExpectAnswers(const HistorySettings& settings, QString Recipe::*statement)
{
    AskedHistory history(settings);
    history.Record(u"Level"_s, 1);
    ASSERT_TRUE(history.Flush()); // there is a table now
    const QString record = u"INSERT INTO velsql_history VALUES "_s;
    for (const bool ofToday : {false, true}) {
        EXPECT_EQ(history.Ask(u"DELETE FROM velsql_history"_s), QString());
        EXPECT_EQ(history.Ask(record + (ofToday ? Lately() : OneMorning()).join(u',')), QString());
        for (const Recipe& recipe : Recipes()) {
            if (recipe.IsOfToday() != ofToday) continue;
            EXPECT_EQ(history.Ask(recipe.*statement).remove(s_Decimals), recipe.Answer) << recipe.Name.toStdString();
        }
    }
}

} // namespace

TEST(Recipes, AnswerOnSqliteAsTheGuideSays)
{
    const QTemporaryDir folder;
    ExpectAnswers(RecordingInto(u"Driver=SQLite;Database="_s + folder.filePath(u"history.db"_s)),
                  &Recipe::SqlitesStatement);
}

TEST(Recipes, AnswerOnPostgresAsTheGuideSays)
{
    const PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    ExpectAnswers(RecordingInto(database.ConnectionString()), &Recipe::PostgresStatement);
}
