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

constexpr double Infinity = std::numeric_limits<double>::infinity();

QString Written(const RowWriterRef& writer, const QStringList& columns, const QList<QList<Variant>>& rows)
{
    QString text;
    writer->WriteHead(text, columns);
    for (const auto& row : rows) writer->WriteRow(text, row);
    writer->WriteTail(text);
    return text;
}

QString WrittenCell(const RowWriterRef& writer, const Variant& cell)
{
    QString text;
    writer->WriteRow(text, {cell});
    return text;
}

/// What other programs may stumble over.
const QStringList Awkward = {u"plain"_s,      u"a,b"_s,
                             u"say \"x\""_s,  u"\""_s,
                             u"two\nlines"_s, u"two\r\nlines\r"_s,
                             u" blanks "_s,   u"tab\tbed"_s,
                             u"'quoted'"_s,   u"Nürnberg \U0001F600"_s,
                             u"\\."_s,        u"NULL"_s,
                             u"=1+1"_s,       u"-9223372036854775808"_s,
                             QString()};

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
    const double quarter = 0.25 / 86400;
    const std::tuple<Variant, QString, QString, QString> cases[] = {
        // value, between tabs, CSV, JSON
        {Variant(Null{}), {}, {}, u"null"_s},
        {Variant(), {}, {}, u"null"_s},
        {Variant(QString()), {}, u"\"\""_s, u"\"\""_s},
        {Variant(u"NULL"_s), u"NULL"_s, u"NULL"_s, u"\"NULL\""_s},
        {Variant(true), u"True"_s, u"True"_s, u"true"_s},
        {Variant(qint32{-5}), u"-5"_s, u"-5"_s, u"-5"_s},
        {Variant(2147483648.0), u"2147483648"_s, u"2147483648"_s, u"2147483648"_s},
        {Variant(-9007199254740992.0), u"-9007199254740992"_s, u"-9007199254740992"_s, u"-9007199254740992"_s},
        {Variant(1e20), u"1E+20"_s, u"1E+20"_s, u"1E+20"_s},
        {Variant(0.1F), u"0.1"_s, u"0.1"_s, u"0.1"_s},
        {Variant(1.1920929e-07F), u"1.1920929E-07"_s, u"1.1920929E-07"_s, u"1.1920929E-07"_s},
        {Variant(-Infinity), u"-Infinity"_s, u"-Infinity"_s, u"\"-Infinity\""_s},
        {Variant(Currency{-1}), u"-0.0001"_s, u"-0.0001"_s, u"-0.0001"_s},
        {Variant(Currency{std::numeric_limits<qint64>::max()}), u"922337203685477.5807"_s, u"922337203685477.5807"_s,
         u"\"922337203685477.5807\""_s},
        {Variant(u"9223372036854775807"_s), u"9223372036854775807"_s, u"9223372036854775807"_s,
         u"\"9223372036854775807\""_s},
        {Variant(Date{45351.25 + quarter}), u"2024-02-29 06:00:00.250"_s, u"2024-02-29 06:00:00.250"_s,
         u"\"2024-02-29 06:00:00.250\""_s},
        {Variant(Date{1e9}), u"1000000000"_s, u"1000000000"_s, u"\"1000000000\""_s},
        {Variant(SafeArray(QList<quint8>{7, 255})), u"0x07FF"_s, u"0x07FF"_s, u"\"0x07FF\""_s},
        {Variant(SafeArray(QList<quint8>())), u"0x"_s, u"0x"_s, u"\"0x\""_s},
        {Variant(SafeArray(QList<qint32>(12, 3))), u"3,3,3,3,3,3,3,3,3,3,3,3"_s, u"\"3,3,3,3,3,3,3,3,3,3,3,3\""_s,
         u"\"3,3,3,3,3,3,3,3,3,3,3,3\""_s},
        {Variant(ObjectRef()), u"..."_s, u"..."_s, u"\"...\""_s},
        {Variant(u"a\tb"_s), u"\"a\tb\""_s, u"a\tb"_s, u"\"a\\tb\""_s},
        {Variant(u"\"x\", \\y"_s), u"\"\"\"x\"\", \\y\""_s, u"\"\"\"x\"\", \\y\""_s, u"\"\\\"x\\\", \\\\y\""_s},
        {Variant(u"a\r\nb\x1"_s), u"\"a\r\nb\x1\""_s, u"\"a\r\nb\x1\""_s, u"\"a\\r\\nb\\u0001\""_s},
    };
    for (const auto& [value, tabs, csv, json] : cases) {
        EXPECT_EQ(WrittenCell(MakeTabWriter(WriteValueText), value), tabs + u'\n');
        EXPECT_EQ(WrittenCell(MakeCsvWriter(WriteValueText), value), csv + u"\r\n"_s);
        EXPECT_EQ(Written(MakeJsonWriter(WriteValueText), {u"c"_s}, {{value}}), u"[\n{\"c\": %1}\n]\n"_s.arg(json));
    }
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
