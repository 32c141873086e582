#include "server/sqlitehistory/TimeKey.h"

#include <QDateTime>

#include <chrono>
#include <limits>

namespace {

/// A field of "yyyy-MM-dd hh:mm:ss.ffffff".
struct Field
{
    char Before; ///< the sign in front of it; 0: none
    int Digits;
    int Lowest;
    int Highest; ///< of a day: depends on the month
};

constexpr std::array<Field, 7> Fields = {{{0, 4, 0, 9999},
                                          {'-', 2, 1, 12},
                                          {'-', 2, 1, 31},
                                          {' ', 2, 0, 23},
                                          {':', 2, 0, 59},
                                          {':', 2, 0, 59},
                                          {'.', 6, 0, 999999}}};
constexpr std::size_t Day = 2;
constexpr std::size_t Minute = 4;
constexpr std::size_t Fraction = 6;

using Numbers = std::array<int, Fields.size()>;

int DaysOfMonth(int year, int month)
{
    namespace date = std::chrono;
    const auto last = date::year(year) / date::month(static_cast<unsigned>(month)) / date::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

int HighestOf(const Numbers& numbers, std::size_t field)
{
    return field == Day ? DaysOfMonth(numbers[0], numbers[1]) : Fields[field].Highest;
}

qint64 Join(const Numbers& n)
{
    namespace date = std::chrono;
    const date::sys_days day =
        date::year(n[0]) / date::month(static_cast<unsigned>(n[1])) / date::day(static_cast<unsigned>(n[2]));
    const qint64 seconds = day.time_since_epoch().count() * qint64{86'400} + n[3] * 3600 + n[4] * 60 + n[5];
    return seconds * MicrosecondsASecond + n[6];
}

/// Reads field by field; from the first sign on that is too low or too high, all that follows is lowest or highest.
class Reading
{
public:
    explicit Reading(QByteArrayView text)
        : m_Text(text)
    {
    }

    TimeKey Key()
    {
        Numbers numbers{};
        for (std::size_t field = 0; field < Fields.size(); ++field) numbers[field] = Take(numbers, field);
        const bool isWhole = m_Side == 0 && m_At == m_Text.size();
        return {Join(numbers), isWhole && m_Text.size() == 26 && m_Ended == 0,
                isWhole && m_Whole >= Day && m_Whole != Minute - 1};
    }

private:
    int Take(const Numbers& numbers, std::size_t field)
    {
        const Field& wanted = Fields[field];
        if (m_Ended == 0 && m_At == m_Text.size() && field > 0) m_Ended = 1;
        if (wanted.Before && m_Ended == 0 && m_Side == 0) Expect(wanted.Before, wanted.Before);
        int number = 0;
        int taken = 0;
        for (; taken < wanted.Digits && m_Side == 0 && m_Ended == 0; ++taken) {
            if (m_At == m_Text.size()) break;
            const char digit = m_Text[m_At];
            if (!Expect('0', '9')) break;
            number = 10 * number + digit - '0';
        }
        const bool isPart = taken < wanted.Digits;
        if (isPart && m_Side == 0) m_Ended = 1;
        if (!isPart || (field == Fraction && taken > 0)) m_Whole = field;
        for (int missing = taken; missing < wanted.Digits; ++missing) number = 10 * number + (m_Side > 0 ? 9 : 0);
        return Within(number, wanted.Lowest, HighestOf(numbers, field), isPart);
    }

    /// Whether the next sign lies within; what follows it is decided otherwise.
    bool Expect(char lowest, char highest)
    {
        const auto sign = static_cast<unsigned char>(m_Text[m_At]);
        if (sign < static_cast<unsigned char>(lowest)) m_Side = -1;
        else if (sign > static_cast<unsigned char>(highest)) m_Side = 1;
        else ++m_At;
        return m_Side == 0;
    }

    int Within(int number, int lowest, int highest, bool isPart)
    {
        if (number < lowest) {
            if (m_Side == 0 && !isPart) m_Side = -1;
            return lowest;
        }
        if (number > highest) {
            if (m_Side == 0) m_Side = 1;
            return highest;
        }
        return number;
    }

    const QByteArrayView m_Text;
    qsizetype m_At = 0;
    std::size_t m_Whole = 0; ///< the last field that is there
    int m_Ended = 0;         ///< 1: the text ended early
    int m_Side = 0;          ///< -1, 1: all that follows is lowest, highest
};

void Write(char* to, int digits, qint64 number)
{
    for (int i = digits - 1; i >= 0; --i, number /= 10) to[i] = static_cast<char>('0' + number % 10);
}

} // namespace

TimeKey TimeKeyOf(QByteArrayView text)
{
    return Reading(text).Key();
}

TimeText SpellTime(qint64 local)
{
    using namespace std::chrono;
    const sys_time<microseconds> time{microseconds(local)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    qint64 rest = (time - day).count();
    TimeText text = {'0', '0', '0', '0', '-', '0', '0', '-', '0', '0', ' ', '0', '0',
                     ':', '0', '0', ':', '0', '0', '.', '0', '0', '0', '0', '0', '0'};
    Write(&text[20], 6, rest % MicrosecondsASecond);
    rest /= MicrosecondsASecond;
    Write(&text[17], 2, rest % 60);
    Write(&text[14], 2, rest / 60 % 60);
    Write(&text[11], 2, rest / 3600);
    Write(&text[8], 2, unsigned(date.day()));
    Write(&text[5], 2, unsigned(date.month()));
    Write(&text[0], 4, int(date.year()));
    return text;
}

qint32 OffsetOfLocal(qint64 local)
{
    // Clocks are set at full minutes, and rows come one after the other.
    thread_local qint64 knownMinute = std::numeric_limits<qint64>::min();
    thread_local qint32 offset = 0;
    const qint64 minute = local / (60 * MicrosecondsASecond);
    if (std::exchange(knownMinute, minute) == minute) return offset;
    const QDateTime asUtc = QDateTime::fromMSecsSinceEpoch(local / 1000, Qt::UTC);
    offset = QDateTime(asUtc.date(), asUtc.time(), Qt::LocalTime).offsetFromUtc();
    return offset;
}

qint32 OffsetOfMoment(qint64 utc)
{
    return QDateTime::fromMSecsSinceEpoch(utc / 1000).offsetFromUtc();
}
