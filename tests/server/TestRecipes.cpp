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

/// The small plant of the document: controller, item, value, time.
const char* const s_Morning =
    "('PLC1','Level','62.5','2024-01-31 06:00:00.000000'), ('PLC1','Level','78','2024-01-31 06:05:00.000000'),"
    "('PLC1','Level','84.5','2024-01-31 06:10:00.000000'), ('PLC1','Level','79','2024-01-31 06:15:00.000000'),"
    "('PLC1','Level','81','2024-01-31 06:45:00.000000'), ('PLC1','Level','80','2024-01-31 06:50:00.000000'),"
    "('PLC1','Level','75','2024-01-31 07:10:00.000000'),"
    "('PLC1','Temperature','21.5','2024-01-31 06:00:00.000000'),"
    "('PLC1','Temperature','22','2024-01-31 06:30:00.000000'),"
    "('PLC1','Temperature','24.25','2024-01-31 07:00:00.000000'),"
    "('PLC1','Recipe','Cola','2024-01-31 06:00:00.000000'),"
    "('PLC1','Recipe','Lemonade','2024-01-31 07:05:00.000000'),"
    "('Archive','Batch','12','2024-01-31 06:20:00.000000')";

/// The same plant yesterday, today, and within the last hour.
QString Today()
{
    const auto row = [](const QString& item, double value, const QDateTime& time) {
        return u"('PLC1','%1','%2','%3')"_s.arg(item).arg(value).arg(time.toString(u"yyyy-MM-dd hh:mm"));
    };
    const QDateTime now = QDateTime::currentDateTime(), today = now.date().startOfDay();
    const auto at = [&](int days, int hour, int minute) {
        return QDateTime(today.date().addDays(days), QTime(hour, minute));
    };
    return QStringList{row(u"Level"_s, 50, at(-2, 7, 0)),
                       row(u"Level"_s, 62.5, at(-1, 6, 0)),
                       row(u"Level"_s, 66, at(-1, 6, 30)),
                       row(u"Level"_s, 66, at(-1, 7, 0)),
                       row(u"Level"_s, 67.5, at(-1, 8, 0)),
                       row(u"Level"_s, 71.5, at(0, 6, 15)),
                       row(u"Level"_s, 70, at(0, 7, 0)),
                       row(u"Temperature"_s, 21, now.addSecs(-5400)),
                       row(u"Temperature"_s, 22.5, now.addSecs(-1800)),
                       row(u"Temperature"_s, 23, now.addSecs(-300))}
        .join(u',');
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
        EXPECT_EQ(history.Ask(record + (ofToday ? Today() : QString::fromLatin1(s_Morning))), QString());
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
