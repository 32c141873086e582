#include "batchwrite/LineReader.h"

#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <QStringList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QStringList Read(const QByteArray& content)
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open() && file.write(content) == content.size() && file.flush());
    LineReader reader(file.fileName());
    QStringList lines;
    while (const auto line = reader.Next()) lines << *line;
    return lines;
}

} // namespace

TEST(Lines, EndWithCrLfOrLfOrTheFileAndLoseNoByte)
{
    EXPECT_EQ(Read("\n"), QStringList(u""_s));
    EXPECT_EQ(Read("a\r\nb\n\r\n\nc"), QStringList({u"a"_s, u"b"_s, u""_s, u""_s, u"c"_s}));
    EXPECT_EQ(Read("a\rb\r\r\n"), QStringList(u"a\rb\r"_s));
    EXPECT_EQ(Read("\xEF\xBB\xBFN\xC3\xBCrnberg\nN\xFCrnberg\n\xEF\xBB\xBFx"), // marked, UTF-8, Latin-1
              QStringList({u"Nürnberg"_s, u"Nürnberg"_s, u"\uFEFFx"_s}));
}

TEST(Lines, MayBeLongerThanAnyBufferButNotEndless)
{
    const QByteArray line(10'000'000, 'x');
    QList<qsizetype> lengths;
    for (const QString& read : Read("a\n" + line + "\r\nb\n" + line.first(65'535) + "\r\n" + line.first(65'536)))
        lengths << read.size();
    EXPECT_EQ(lengths, QList<qsizetype>({1, line.size(), 1, 65'535, 65'536}));

    QTemporaryFile file;
    ASSERT_TRUE(file.open() && file.resize(LineReader::LongestLine + 1'000'000)); // sparse
    LineReader reader(file.fileName());
    try {
        reader.Next();
        FAIL();
    } catch (const DescribedError& error) {
        EXPECT_EQ(error.Description(),
                  u"Invalid procedure call or argument: line 1, \"%1\", is too long"_s.arg(QString(40, QChar())));
    }
}

TEST(Lines, OfAFileThatShrinksEndEarly)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open() && file.write(QByteArray("12345678\n").repeated(100'000)) > 0 && file.flush());
    LineReader reader(file.fileName());
    EXPECT_EQ(reader.Next(), u"12345678"_s);
    ASSERT_TRUE(file.resize(100));
    int lines = 1;
    while (reader.Next()) ++lines;
    EXPECT_LT(lines, 10'000);
}
