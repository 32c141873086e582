#include "server/history/ResultRows.h"

#include "core/automation/Calendar.h"
#include "core/automation/Errors.h"
#include "server/database/Database.h"
#include "server/database/SqlValue.h"

#include <QDateTime>
#include <QLibrary>
#include <QLocale>
#include <QSqlDriver>
#include <QSqlRecord>
#include <QSqlResult>

#include <cmath>
#include <limits>
#include <optional>
#include <sqlite3.h>

namespace {

constexpr unsigned DateType = 1082;
constexpr unsigned TimeType = 1083;
constexpr unsigned TimeStampType = 1114;
constexpr unsigned TimeStampZoneType = 1184;
constexpr unsigned TimeZoneType = 1266;
constexpr unsigned NumericType = 1700;

constexpr qint64 MicrosecondsASecond = 1'000'000;
constexpr qint64 MicrosecondsADay = 86'400 * MicrosecondsASecond;

/// The library that Qt's driver has already loaded. Programs without PostgreSQL need not link it.
struct PostgresLibrary
{
    using TextOf = const char* (*)(const void* result, int row, int column);
    using TypeOf = unsigned (*)(const void* result, int column);

    static const PostgresLibrary& Instance()
    {
        static const PostgresLibrary library = [] {
            QLibrary file(QStringLiteral("pq"), 5);
            return PostgresLibrary{reinterpret_cast<TextOf>(file.resolve("PQgetvalue")),
                                   reinterpret_cast<TypeOf>(file.resolve("PQftype"))};
        }();
        return library;
    }
    bool IsThere() const { return Text && Type; }

    TextOf Text;
    TypeOf Type;
};

/// Takes a text apart from its beginning; when something is missing, `Good` becomes false.
class Digits
{
public:
    explicit Digits(QStringView text)
        : m_Rest(text)
    {
    }

    int Take(qsizetype count)
    {
        int number = 0;
        for (qsizetype i = 0; i < count; ++i) {
            Good = Good && !IsAtEnd() && m_Rest.front() >= u'0' && m_Rest.front() <= u'9';
            if (!Good) return 0;
            number = 10 * number + m_Rest.front().digitValue();
            m_Rest = m_Rest.sliced(1);
        }
        return number;
    }
    bool Skips(QChar sign)
    {
        if (!m_Rest.startsWith(sign)) return false;
        m_Rest = m_Rest.sliced(1);
        return true;
    }
    void Skip(QChar sign) { Good = Skips(sign) && Good; }
    bool IsAtEnd() const { return m_Rest.isEmpty(); }
    /// The decimals after the seconds.
    int TakeMicroseconds()
    {
        int number = 0;
        for (int scale = 100'000; scale > 0 && !IsAtEnd() && m_Rest.front().isDigit(); scale /= 10)
            number += Take(1) * scale;
        return number;
    }

    bool Good = true;

private:
    QStringView m_Rest;
};

struct Clock
{
    QDate Day;
    qint64 Microseconds = 0;
    std::optional<int> Offset; ///< offset of its zone, in seconds
};

int TakeOffset(Digits& digits, int sign)
{
    int seconds = digits.Take(2) * 3600;
    if (digits.Skips(u':')) seconds += digits.Take(2) * 60;
    if (digits.Skips(u':')) seconds += digits.Take(2);
    return sign * seconds;
}

std::optional<Clock> ReadClock(QStringView text)
{
    Digits digits(text);
    const int year = digits.Take(4);
    digits.Skip(u'-');
    const int month = digits.Take(2);
    digits.Skip(u'-');
    Clock clock{QDate(year, month, digits.Take(2)), 0, {}};
    if (digits.Skips(u' ')) {
        qint64 seconds = digits.Take(2) * 3600;
        digits.Skip(u':');
        seconds += digits.Take(2) * 60;
        digits.Skip(u':');
        seconds += digits.Take(2);
        clock.Microseconds = seconds * MicrosecondsASecond + (digits.Skips(u'.') ? digits.TakeMicroseconds() : 0);
        if (digits.Skips(u'+')) clock.Offset = TakeOffset(digits, 1);
        else if (digits.Skips(u'-')) clock.Offset = TakeOffset(digits, -1);
    }
    const bool good = digits.Good && digits.IsAtEnd() && clock.Day.isValid();
    return good ? std::optional(clock) : std::nullopt;
}

Clock InLocalTime(const Clock& clock)
{
    const qint64 second = clock.Microseconds / MicrosecondsASecond - *clock.Offset;
    const QDateTime local = QDateTime(clock.Day, QTime(0, 0), Qt::UTC).addSecs(second).toLocalTime();
    return {local.date(),
            local.time().msecsSinceStartOfDay() * qint64{1000} + clock.Microseconds % MicrosecondsASecond,
            {}};
}

/// Empty when an automation date does not reach that far or is too coarse.
std::optional<Date> ToDate(const Clock& clock)
{
    const qint64 day = Calendar::DayOf(clock.Day);
    const double timeOfDay = static_cast<double>(clock.Microseconds) / static_cast<double>(MicrosecondsADay);
    const Date date = Calendar::Join(day, timeOfDay);
    const double kept = Calendar::TimeOfDay(date) * static_cast<double>(MicrosecondsADay);
    const bool isExact = std::trunc(date.Days) == static_cast<double>(day) && std::llround(kept) == clock.Microseconds;
    return Calendar::IsInRange(date) && isExact ? std::optional(date) : std::nullopt;
}

/// Without superfluous zeros.
QStringView Significant(QStringView digits)
{
    while (digits.contains(u'.') && (digits.endsWith(u'0') || digits.endsWith(u'.'))) {
        const bool isPoint = digits.endsWith(u'.');
        digits.chop(1);
        if (isPoint) break;
    }
    return digits;
}

/// A numeric as R8 when that has the same digits, otherwise unchanged.
Variant FromNumericText(const QString& text)
{
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    if (text == u"NaN") return std::numeric_limits<double>::quiet_NaN();
    if (text == u"Infinity") return Infinity;
    if (text == u"-Infinity") return -Infinity;
    const double number = text.toDouble(); // 0 when it is out of range
    const QString spelled = QString::number(number, 'f', QLocale::FloatingPointShortest);
    return Significant(spelled) == Significant(text) ? Variant(number) : Variant(text);
}

/// A date, a time stamp or a time stamp with a zone (converted to local time) as DATE when that holds it to the
/// microsecond; otherwise unchanged.
Variant FromTimeText(const QString& text)
{
    const auto clock = ReadClock(text);
    const auto date = !clock ? std::nullopt : ToDate(clock->Offset ? InLocalTime(*clock) : *clock);
    return date ? Variant(*date) : Variant(text);
}

/// This needs PostgreSQL's own library; without it, and with any other database, Qt's values are used.
bool IsPostgreSql(const QSqlQuery& query)
{
    const QVariant handle = query.result()->handle();
    const QByteArrayView type = handle.typeName();
    const bool isResult = type == "PGresult*" || type == "pg_result*"; // as Qt or the compiler names it
    return isResult && query.isForwardOnly() && PostgresLibrary::Instance().IsThere();
}

} // namespace

ResultRows::ResultRows(QSqlQuery& query)
    : m_Query(query)
    , m_Columns(query.record().count())
    , m_IsPostgreSql(IsPostgreSql(query))
    , m_Sqlite(SqliteHandleOf(*query.driver()))
{
}

bool ResultRows::Next()
{
    const bool isThere = m_Query.next();
    // Qt's driver takes a text for which SQLite has found no memory for an empty one.
    if (isThere && m_Sqlite && sqlite3_errcode(m_Sqlite) == SQLITE_NOMEM)
        throw DescribedError(QStringLiteral("There is not enough memory for a row of the result."));
    if (isThere && m_IsPostgreSql)
        m_PostgresRow = *static_cast<const void* const*>(m_Query.result()->handle().constData());
    return isThere;
}

QList<Variant> ResultRows::Row() const
{
    QList<Variant> row;
    row.reserve(m_Columns);
    for (int i = 0; i < m_Columns; ++i) row.append(Cell(i));
    return row;
}

Variant ResultRows::Cell(int column) const
{
    if (!m_IsPostgreSql || m_Query.isNull(column)) return FromSql(m_Query.value(column));
    const PostgresLibrary& library = PostgresLibrary::Instance();
    const auto text = [&] { return QString::fromUtf8(library.Text(m_PostgresRow, 0, column)); };
    switch (library.Type(m_PostgresRow, column)) {
    case DateType:
    case TimeStampType:
    case TimeStampZoneType: return FromTimeText(text());
    case TimeType:
    case TimeZoneType: return text();
    case NumericType: return FromNumericText(text());
    default: return FromSql(m_Query.value(column));
    }
}
