#include "batchwrite/LineReader.h"

#include "core/automation/Errors.h"
#include "tests/support/PrintQt.h"

#include <QStringList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

class Lines : public ::testing::Test
{
protected:
    Lines() { EXPECT_TRUE(m_File.open()); }

    QString Write(const QByteArray& content)
    {
        m_File.resize(0);
        m_File.seek(0);
        m_File.write(content);
        m_File.flush();
        return m_File.fileName();
    }
    QStringList Read(const QByteArray& content)
    {
        LineReader reader(Write(content));
        QStringList lines;
        while (const auto line = reader.Next()) lines << *line;
        return lines;
    }

    QTemporaryFile m_File;
};

} // namespace

TEST_F(Lines, EndWithCrLfOrLfOrTheFile)
{
    EXPECT_EQ(Read(""), QStringList());
    EXPECT_EQ(Read("\n"), QStringList({u""_s}));
    EXPECT_EQ(Read("a\r\nb\n\r\n\nc"), QStringList({u"a"_s, u"b"_s, u""_s, u""_s, u"c"_s}));
    EXPECT_EQ(Read("a\rb\r\r\n"), QStringList({u"a\rb\r"_s}));
}

TEST_F(Lines, AreUtf8OrElseNoByteIsLost)
{
    EXPECT_EQ(Read("\xEF\xBB\xBFN\xC3\xBCrnberg\nN\xFCrnberg\n\xEF\xBB\xBFx"),
              QStringList({u"Nürnberg"_s, u"Nürnberg"_s, u"\uFEFFx"_s}));
    EXPECT_EQ(Read(QByteArray("a\0b\n", 4)), QStringList({u"a\0b"_s}));
}

TEST_F(Lines, MayBeLongerThanAnyBuffer)
{
    const QByteArray line(10'000'000, 'x');
    const QStringList lines = Read("a\n" + line + "\r\nb\n" + line.first(65'535) + "\r\n" + line.first(65'536));
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[1].size(), line.size());
    EXPECT_EQ(lines[2], u"b"_s);
    EXPECT_EQ(lines[3].size(), 65'535);
    EXPECT_EQ(lines[4].size(), 65'536);
}

TEST_F(Lines, WithoutEndAreRefusedSomewhere)
{
    LineReader reader(Write("a\n"));
    m_File.resize(LineReader::LongestLine + 1'000'000); // sparse
    EXPECT_EQ(reader.Next(), u"a"_s);
    EXPECT_THROW(reader.Next(), DescribedError);
}

TEST_F(Lines, OfAFileThatShrinksEndEarly)
{
    LineReader reader(Write(QByteArray("12345678\n").repeated(100'000)));
    EXPECT_EQ(reader.Next(), u"12345678"_s);
    m_File.resize(100);
    int lines = 1;
    while (reader.Next()) ++lines;
    EXPECT_LT(lines, 10'000);
}

TEST_F(Lines, OfAPipeAreNotWaitedFor)
{
    const QString path = m_File.fileName() + u".pipe"_s;
    ASSERT_EQ(mkfifo(path.toLocal8Bit().constData(), 0600), 0);
    EXPECT_THROW(LineReader{path}, DescribedError);
    QFile::remove(path);
}
