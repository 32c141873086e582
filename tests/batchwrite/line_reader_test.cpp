#include "batchwrite/LineReader.h"

#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <QStringList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// What is read from a file that gets another size once its first line is read, and then why reading failed.
QStringList Read(const QByteArray& content, std::optional<qint64> sizeThen = {})
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open() && file.write(content) == content.size() && file.flush());
    LineReader reader(file.fileName());
    QStringList lines;
    try {
        while (const auto line = reader.Next()) {
            lines << *line;
            if (sizeThen) file.resize(*sizeThen);
        }
    } catch (const DescribedError& error) {
        lines << error.Description();
    }
    return lines;
}

} // namespace

TEST(Lines, EndWithCrLfOrLfOrTheFileAndLoseNoByte)
{
    EXPECT_EQ(Read("a\r\nb\n\r\n\nc"), QStringList({u"a"_s, u"b"_s, u""_s, u""_s, u"c"_s}));
    EXPECT_EQ(Read("a\rb\r\r\n"), QStringList(u"a\rb\r"_s));
    EXPECT_EQ(Read("\xEF\xBB\xBFN\xC3\xBCrnberg\nN\xFCrnberg\n\xEF\xBB\xBFx"), // marked, UTF-8, Latin-1
              QStringList({u"Nürnberg"_s, u"Nürnberg"_s, u"\uFEFFx"_s}));
}

TEST(Lines, MayBeLongerThanAnyBufferButNotEndlessAndTheFileMayShrink)
{
    const QByteArray x(10'000'000, 'x');
    EXPECT_TRUE(Read("a\n" + x + "\r\nb\n" + x.first(65'535) + "\r\n" + x.first(65'536)) ==
                QStringList({u"a"_s, QString::fromLatin1(x), u"b"_s, QString(65'535, u'x'), QString(65'536, u'x')}));
    EXPECT_EQ(Read("a\n", LineReader::LongestLine + 1'000'000), // sparse
              QStringList({u"a"_s, u"Invalid procedure call or argument: line 2, \"%1\", is too long"_s.arg(
                                       QString(40, QChar()))}));
    EXPECT_LT(Read(QByteArray("12345678\n").repeated(100'000), 100).size(), 10'000);
}
