#include "resulttext/RowWriter.h"

#include "core/automation/SafeArray.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/ValueText.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QString Written(const RowWriterRef& writer, const QStringList& columns, const QList<QList<Variant>>& rows)
{
    QString text;
    writer->WriteHead(text, columns);
    for (const auto& row : rows) writer->WriteRow(text, row);
    writer->WriteTail(text);
    return text;
}

/// As a row of its own: between tabs, CSV and JSON, with "|" in between.
QString WrittenCell(const Variant& cell)
{
    QString text;
    MakeTabWriter(WriteValueText)->WriteRow(text, {cell});
    text += u'|';
    MakeCsvWriter(WriteValueText)->WriteRow(text, {cell});
    const QString json = Written(MakeJsonWriter(WriteValueText), {u"c"_s}, {{cell}});
    return text.remove(u'\r').remove(u'\n') + u'|' + json.sliced(8, json.size() - 12);
}

/// What other programs may stumble over; the last one is empty.
const QStringList Awkward =
    u"plain~a,b~say \"x\"~\"~two\nlines~two\r\nlines\r~ blanks ~tab\tbed~'quoted'~Nürnberg \U0001F600~\\.~NULL~=1+1~"_s
        .split(u'~');

/// The lines that a program prints of the file, each cell as hexadecimal UTF-8.
QStringList ReadBack(const QByteArray& file, const QString& program, const QStringList& arguments)
{
    const QTemporaryDir folder;
    QFile csv(folder.filePath(u"rows.csv"_s));
    if (!csv.open(QFile::WriteOnly) || csv.write(file) != file.size()) return {};
    csv.close();
    QProcess process;
    process.setWorkingDirectory(folder.path());
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAll() + process.readAllStandardError()).trimmed().split(u'\n');
}

} // namespace

TEST(RowWriters, WriteEveryKindOfValue)
{
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    const Currency mostMoney{std::numeric_limits<qint64>::max()};
    const QString threes = u"3,3,3,3,3,3,3,3,3"_s;
    const std::pair<Variant, QString> cases[] = {
        {Null{}, u"||null"_s},
        {Variant(), u"||null"_s},
        {QString(), u"|\"\"|\"\""_s},
        {u"NULL"_s, u"NULL|NULL|\"NULL\""_s},
        {true, u"True|True|true"_s},
        {qint32{-5}, u"-5|-5|-5"_s},
        {2147483648.0, u"2147483648|2147483648|2147483648"_s},
        {-9007199254740992.0, u"-9007199254740992|-9007199254740992|-9007199254740992"_s},
        {1e20, u"1E+20|1E+20|1E+20"_s},
        {1.1920929e-07F, u"1.1920929E-07|1.1920929E-07|1.1920929E-07"_s},
        {-Infinity, u"-Infinity|-Infinity|\"-Infinity\""_s},
        {Currency{-1}, u"-0.0001|-0.0001|-0.0001"_s},
        {mostMoney, u"922337203685477.5807|922337203685477.5807|\"922337203685477.5807\""_s},
        {Date{45351.25}, u"2024-02-29 06:00:00|2024-02-29 06:00:00|\"2024-02-29 06:00:00\""_s},
        {Date{1e9}, u"1000000000|1000000000|\"1000000000\""_s},
        {SafeArray(QList<quint8>{7, 255}), u"0x07FF|0x07FF|\"0x07FF\""_s},
        {SafeArray(QList<quint8>()), u"0x|0x|\"0x\""_s},
        {SafeArray(QList<qint32>(9, 3)), u"%1|\"%1\"|\"%1\""_s.arg(threes)},
        {ObjectRef(), u"...|...|\"...\""_s},
        {u"a\tb"_s, u"\"a\tb\"|a\tb|\"a\\tb\""_s},
        {u"\"x\", \\y"_s, u"\"\"\"x\"\", \\y\"|\"\"\"x\"\", \\y\"|\"\\\"x\\\", \\\\y\""_s},
        {u"a\r\nb\x1"_s, u"\"ab\x1\"|\"ab\x1\"|\"a\\r\\nb\\u0001\""_s},
    };
    for (const auto& [value, written] : cases) EXPECT_EQ(WrittenCell(value), written);
}

TEST(RowWriters, KeepColumnsApartThatHaveOneName)
{
    const QStringList columns = {u"a"_s, u"a"_s, u"a_2"_s, u"a"_s, QString(), QString(), u"b,\"c\""_s};
    const QList<Variant> row(columns.size(), Variant(1));
    EXPECT_EQ(Written(MakeJsonWriter(WriteValueText), columns, {row, row}).section(u'\n', 1, 1),
              u"{\"a\": 1, \"a_3\": 1, \"a_2\": 1, \"a_4\": 1, \"\": 1, \"_2\": 1, \"b,\\\"c\\\"\": 1},");
    EXPECT_EQ(Written(MakeCsvWriter(WriteValueText), columns, {}), u"a,a,a_2,a,\"\",\"\",\"b,\"\"c\"\"\"\r\n");
    EXPECT_EQ(Written(MakeJsonWriter(WriteValueText), columns, {}), u"[]\n");
}

TEST(RowWriters, AreReadBackByOtherPrograms)
{
    QList<QList<Variant>> rows;
    QStringList texts;
    for (const QString& text : Awkward) {
        rows << QList<Variant>{Variant(text), Variant(Null{}), Variant(text)};
        const QString hex = QString::fromLatin1(text.toUtf8().toHex());
        texts << hex + u"--"_s + hex;
    }
    const QStringList columns = {u"first, \"1\""_s, u"b"_s, u"c"_s};
    const QByteArray csv = Written(MakeCsvWriter(WriteValueText), columns, rows).toUtf8();
    EXPECT_EQ(ReadBack(csv, u"sqlite3"_s,
                       {u":memory:"_s, u".import --csv rows.csv t"_s,
                        u"SELECT lower(hex(\"first, \"\"1\"\"\") || '-' || hex(b) || '-' || hex(c)) FROM t"_s}),
              texts);
    EXPECT_EQ(ReadBack(csv, u"python3"_s,
                       {u"-c"_s, u"import csv\n"
                                 "for row in list(csv.reader(open('rows.csv', encoding='utf-8', newline=''), "
                                 "strict=True))[1:]: print('-'.join(cell.encode().hex() for cell in row))"_s}),
              texts);
    const QByteArray json = Written(MakeJsonWriter(WriteValueText), columns, rows).toUtf8();
    EXPECT_EQ(ReadBack(json, u"python3"_s,
                       {u"-c"_s, u"import json\n"
                                 "for row in json.load(open('rows.csv', encoding='utf-8')): "
                                 "print('-'.join((cell or '').encode().hex() for cell in row.values()))"_s}),
              texts);
}
