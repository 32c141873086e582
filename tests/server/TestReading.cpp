#include "server/reading/IntervalWalk.h"
#include "server/reading/ReadRequest.h"
#include "tests/server/AskedHistory.h"
#include "tests/server/TestPlant.h"
#include "tests/support/PostgresRun.h"

#include <QTemporaryDir>

#include <cmath>

namespace {

constexpr Micros Minute = 60 * MicrosASecond;
constexpr Micros Midnight = 1'706'659'200 * MicrosASecond; // 2024-01-31 UTC

/// Readings that lie in memory, and blocks as a history would keep them.
class HeldReadings : public HistoryReader
{
public:
    QList<Reading> Readings;
    bool Blocks = false;

    void ReadValues(const ItemPath&, const TimeRange& range, bool newestFirst, qint64 atMost,
                    const Taker<Reading>& take) override
    {
        QList<Reading> found;
        for (const Reading& reading : Readings)
            if (reading.Utc >= range.From && reading.Utc < range.To) found.append(reading);
        if (newestFirst) std::reverse(found.begin(), found.end());
        if (atMost > 0) found.resize(std::min<qsizetype>(found.size(), atMost));
        for (const Reading& reading : found)
            if (!take(reading)) return;
    }
    bool HasBlocks() const override { return Blocks; }
    std::vector<Summary> ReadBlocks(const ItemPath& item, Level level, const TimeRange& range, const Grid&) override
    {
        std::vector<Summary> blocks;
        for (Micros start = RoundUp(range.From, level); start < range.To; start += LengthOf(level)) {
            Summary block{start};
            IntervalSums sums;
            ReadValues(item, {start, start + LengthOf(level)}, false, 0, [&](const Reading& reading) {
                sums.Add(reading);
                return ++block.Rows > 0;
            });
            block = {start,
                     block.Rows,
                     sums.Numbers,
                     sums.Smallest,
                     sums.Largest,
                     sums.Sum,
                     AsNumber(sums.First),
                     AsNumber(sums.Last),
                     0,
                     0,
                     sums.WorstState};
            if (block.Rows > 0) blocks.push_back(block);
        }
        return blocks;
    }

private:
    static double AsNumber(const Variant& value) { return value.IsNull() ? 0.0 : value.Get<double>(); }
};

QString Shown(const Variant& cell)
{
    const double* number = cell.GetIf<double>();
    if (number && *number > 1e15) return QString::number((*number - Midnight) / MicrosASecond, 'g', 12);
    return cell.IsNull() ? u"-"_s : number ? QString::number(*number, 'g', 6) : ToPlainText(cell);
}

/// The rows without item and time; utc in seconds since midnight.
template <typename Request>
QStringList RowsOf(void (*write)(const Request&, HistoryReader&, const Inquiry::Taker&), const Request& request,
                   HistoryReader& reader)
{
    QStringList rows;
    write(request, reader, [&](const QList<Variant>& row) {
        QStringList cells;
        for (const Variant& cell : row.sliced(2)) cells << Shown(cell);
        rows << cells.join(u' ');
        return true;
    });
    return rows;
}

class ReadingTest : public ::testing::Test
{
protected:
    static Variant At(double second) { return static_cast<double>(Midnight) + second * MicrosASecond; }
    ReadRequest Span(const Variant& from, const Variant& to, const Variant& items = u"PLC1\\A"_s)
    {
        return {m_Plant, items, from, to};
    }
    QStringList Raw(const Variant& from, const Variant& to, bool bounds, qint32 atMost = 0, const QString& more = {})
    {
        return RowsOf(WriteRaw, RawRequest(Span(from, to), bounds, atMost, more), m_Reader);
    }
    QStringList Processed(double from, double to, const Variant& interval, const Variant& aggregates)
    {
        return RowsOf(WriteProcessed, ProcessedRequest(Span(At(from), At(to)), interval, aggregates), m_Reader);
    }
    void Hold(double second, const Variant& value, qint32 state = 0)
    {
        m_Reader.Readings << Reading{static_cast<Micros>(At(second).Get<double>()), value, state};
    }

    TestPlant m_Plant;
    HeldReadings m_Reader;
};

} // namespace

TEST_F(ReadingTest, AggregatesOfAKnownSignal)
{
    Hold(-5, 100.0);
    Hold(2, 10.0);
    Hold(4, 30.0);
    Hold(8, Null{}, 1); // a break
    Hold(12, 50.0);
    Hold(15, u"off"_s);
    Hold(18, 60.0);
    // From: minimum, maximum, average, average in time, count, first, last; the worst state.
    // 2 s of 100, 2 s of 10, 4 s of 30, 2 s of nothing; 2 s of nothing, 3 s of 50, 3 s of text, 2 s of 60.
    EXPECT_EQ(Processed(0, 35, 10e6, u"All"_s),
              QStringList({u"0 10 30 20 42.5 2 10 30 1 Partial Raw"_s, u"10 50 60 55 54 3 50 60 1 Partial Raw"_s,
                           u"20 - - - 60 0 - - 0 Good Raw"_s, u"30 - - - 60 0 - - 0 Good Raw"_s}));
    EXPECT_EQ(Processed(-20, 0, u"10 s"_s, SafeArray(QList<QString>({u"TimeAverage"_s, u"Count"_s}))),
              QStringList({u"-20 - 0 0 NoData Raw"_s, u"-10 100 1 0 Partial Raw"_s}));
    EXPECT_EQ(Processed(3, 13, 0, u"Maximum"_s), QStringList(u"3 50 1 Partial Raw"_s)) << "one interval";
}

TEST_F(ReadingTest, BlocksSayWhatTheValuesInThemSay)
{
    for (int i = 0; i < 30'000; ++i)
        Hold(i * 7.3, std::round(1e4 * std::sin(i * 0.01)), i < 3000 && i % 50 == 0 ? 1 : 0);
    Hold(219'000, u"off"_s);
    const QString numbers = u"Minimum Maximum Average"_s, values = numbers + u" Count First Last"_s;
    struct Case
    {
        double From, To, Interval;
        QString Sources; ///< of the row in the middle
    };
    for (const Case& c : {Case{0, 172'800, 86'400, u"Days"_s}, Case{100.5, 200'000, 0, u"Days"_s},
                          Case{1.5, 3000, 60, u"Raw"_s}, Case{33, 190'000, 5000, u"Minutes"_s},
                          Case{33, 190'000, 7500, u"Hours"_s}, Case{60, 660, 120, u"Minutes"_s}}) {
        for (const QString& names : {numbers, values}) {
            const Variant aggregates = SafeArray(QList<QString>(names.split(u' ')));
            m_Reader.Blocks = true;
            const QStringList rows = Processed(c.From, c.To, c.Interval * 1e6, aggregates);
            m_Reader.Blocks = false;
            EXPECT_EQ(rows[rows.size() / 2].section(u' ', -1), c.Sources);
            EXPECT_EQ(rows[0].section(u' ', 0, 0), QString::number(c.From)) << "exact";
            for (qsizetype i = 0; i < rows.size(); ++i) {
                const double begin = rows[i].section(u' ', 0, 0).toDouble();
                const double end = i + 1 < rows.size() ? rows[i + 1].section(u' ', 0, 0).toDouble() : c.To;
                EXPECT_LT(std::abs(begin - c.From - static_cast<double>(i) * c.Interval), 3600) << "near";
                const QString exact = Processed(begin, end, 0, aggregates)[0];
                EXPECT_EQ(rows[i].section(u' ', 0, -2), exact.section(u' ', 0, -2));
            }
        }
    }
}

TEST_F(ReadingTest, RawValuesWithTheirBoundsAndInPages)
{
    const QStringList held = {u"1 10 0 Raw"_s, u"2 20 0 Raw"_s, u"2 21 0 Raw"_s, u"2 22 0 Raw"_s, u"5 50 0 Raw"_s};
    for (const QString& row : held) Hold(row.section(u' ', 0, 0).toDouble(), row.section(u' ', 1, 1).toDouble());
    const Variant open;
    EXPECT_EQ(Raw(At(1), At(5), false), held.first(4));
    EXPECT_EQ(Raw(At(1), At(4), true), held.first(4) << u"5 50 0 Bound"_s) << "what lies at the beginning is no bound";
    EXPECT_EQ(Raw(At(3), At(5), true), QStringList({u"2 22 0 Bound"_s, u"5 50 0 Bound"_s}));
    EXPECT_EQ(Raw(At(6), At(0), true), QStringList({u"6 - 0 NoBound"_s})
                                           << QStringList(held.rbegin(), held.rend()) << u"0 - 0 NoBound"_s);
    EXPECT_EQ(Raw(open, open, true, 0), held);
    for (const auto& [from, to] : {std::pair(At(0), At(9)), {At(9), At(0)}, {open, open}}) {
        QStringList rows;
        for (QString more = u"begin"_s; !more.isEmpty();) {
            const QStringList page = Raw(from, to, false, 2, rows.isEmpty() ? QString() : more);
            more = page.size() > 2 && page[2].endsWith(u"MoreData") ? page[2].section(u' ', 1, 1) : QString();
            rows << page.first(std::min<qsizetype>(page.size(), 2));
        }
        const bool isForwards = rows.value(0) == held[0];
        EXPECT_EQ(rows, isForwards ? held : QStringList(held.rbegin(), held.rend()));
    }
}

TEST_F(ReadingTest, TimesAreReadAndWrongArgumentsNamed)
{
    const QByteArray zone = qgetenv("TZ");
    qputenv("TZ", "Europe/Berlin");
    tzset();
    const Micros change = 1'729'990'800 * MicrosASecond; // 2024-10-27 01:00 UTC
    EXPECT_EQ(ToMicros(u"2024-10-27 02:30"_s), change - 30 * Minute) << "the first of two";
    EXPECT_EQ(ToMicros(u"2024-10-27T02:30:00.000001+01:00"_s), change + 30 * Minute + 1);
    EXPECT_EQ(ToMicros(u"2024-10-27 01:30Z"_s), change + 30 * Minute);
    EXPECT_EQ(ToMicros(LocalClock().DateOf(change + 61 * Minute + 7)), change + 61 * Minute + 7);
    qputenv("TZ", zone);
    if (zone.isEmpty()) qunsetenv("TZ");
    tzset();

    const auto read = [&](const Variant& items, const Variant& from, const Variant& interval, const Variant& names) {
        return OutcomeOf([&] { ProcessedRequest(Span(from, At(10), items), interval, names); });
    };
    const QString a = u"PLC1\\A"_s, count = u"Count"_s;
    EXPECT_EQ(read(a, At(0), {}, count), u"done");
    EXPECT_EQ(read(u"A"_s, At(0), 0, count), u"items: \"A\" is not an item such as PLC1\\D100");
    EXPECT_EQ(read(a, u"soon"_s, 0, count), u"from: \"soon\" is not a date such as 2024-01-31 12:00:00");
    EXPECT_EQ(read(a, std::nan(""), 0, count), u"from: Overflow");
    EXPECT_EQ(read(a, At(10), 0, count), u"to: it must lie behind the beginning");
    EXPECT_EQ(read(a, At(0), u"10 eggs"_s, count), u"interval: \"10 eggs\" is not a length of time such as 10 min");
    EXPECT_EQ(read(a, At(0), 1, count), u"interval: the span has more than 1000000 of them");
    EXPECT_EQ(read(a, At(0), 0, u"Sum"_s), u"aggregates: \"Sum\" is none of All, Minimum, Maximum, Average, "
                                           "TimeAverage, Count, First, Last");
    EXPECT_EQ(OutcomeOf([&] { RawRequest(Span(At(0), {}), false, 5, u"1"_s); }),
              u"continuing: it is what the answer for this one item ended with");
}

TEST_F(ReadingTest, BothDatabasesAnswerWhatWasRecorded)
{
    const QTemporaryDir folder;
    PostgresRun database;
    ASSERT_TRUE(database.IsRunning()) << database.Problem().toStdString();
    for (const QString& connection : {u"Database="_s + folder.filePath(u"h.db"_s), database.ConnectionString()}) {
        AskedHistory history(RecordingInto(connection));
        const QString table = u"velsql_history"_s;
        const Inquiry unknown = RawInquiry(RawRequest(Span({}, {}), false, 0, {}), u"none"_s);
        EXPECT_EQ(history.Ask(unknown), u"item,time,utc,value,state,quality") << "it has not begun";
        const auto fails = [](const auto&, const auto&) { throw DescribedError(u"its reason"_s); };
        EXPECT_EQ(history.Ask(Inquiry{u"what fails"_s, {u"a"_s}, fails}), u"its reason");
        const auto record = [&](const QString& item, Micros time, const Variant& value) {
            history.Record({u"PLC1"_s, item, value, TimeStamp(std::chrono::microseconds(time))});
        };
        for (int i = 0; i < 11'000; ++i) record(u"A"_s, Midnight + i * MicrosASecond + 7, i % 100 * 0.5);
        record(u"B"_s, Midnight + Minute, u"it's"_s);
        for (int i = 0; i < 500; ++i) record(u"C"_s, Midnight + i / 250, i);
        ASSERT_TRUE(history.Flush());
        QStringList values;
        QString more;
        for (int pages = 0; pages < 30 && (pages == 0 || !more.isEmpty()); ++pages) {
            const RawRequest page(Span({}, {}, u"PLC1\\C"_s), false, 20 + pages % 2, std::exchange(more, {}));
            for (const QString& row : history.Ask(RawInquiry(page, table)).split(u'\n').sliced(1))
                (row.endsWith(u",MoreData") ? more : values.emplaceBack()) = row.section(u',', 3, 3);
        }
        EXPECT_EQ(values.size(), 500);
        EXPECT_EQ(values.removeDuplicates(), 0) << "many have one time";
        const auto ask = [&](const Inquiry& asked) {
            return history.Ask(asked).remove(QRegularExpression(u",\\d{4}-[-\\d]* [:.\\d]*"_s)).section(u'\n', 1);
        };
        const Variant both = SafeArray(QList<QString>({u"PLC1\\B"_s, u"PLC1\\A"_s}));
        EXPECT_EQ(ask(RawInquiry(RawRequest(Span(At(60), At(61), both), true, 0, {}), table)),
                  u"PLC1\\B,1.70665926E+15,it's,0,Raw\nPLC1\\B,1.706659261E+15,NULL,0,NoBound\n"
                  "PLC1\\A,1.706659259000007E+15,29.5,0,Bound\nPLC1\\A,1.706659260000007E+15,30,0,Raw\n"
                  "PLC1\\A,1.706659261000007E+15,30.5,0,Bound");
        const Variant names = SafeArray(QList<QString>({u"Minimum"_s, u"Maximum"_s, u"Average"_s, u"Count"_s}));
        for (const auto& [from, source] : {std::pair(0.0, u"Hours"_s), {30.5, u"Minutes"_s}}) {
            const auto request = [&](const Variant& asked) {
                return ProcessedInquiry(ProcessedRequest(Span(At(from), At(10'800)), 3600e6, asked), table);
            };
            const QStringList rows = ask(request(names)).split(u'\n');
            EXPECT_EQ(rows.size(), 3);
            EXPECT_TRUE(rows[1].endsWith(u",0,49.5,24.75,3600,0,Good,"_s + source)) << rows[1].toStdString();
        }
    }
}
