#include "server/reading/ReadRequest.h"
#include "server/reading/SqlReader.h"

namespace {

constexpr Micros Beginning = std::numeric_limits<Micros>::min();
constexpr Micros End = std::numeric_limits<Micros>::max();

const QStringList s_Columns = {QStringLiteral("item"),  QStringLiteral("time"),  QStringLiteral("utc"),
                               QStringLiteral("value"), QStringLiteral("state"), QStringLiteral("quality")};

/// Hands out the rows of one item.
class RawRows
{
public:
    RawRows(const RawRequest& request, HistoryReader& reader, const Inquiry::Taker& take, const ItemPath& item)
        : m_Request(request)
        , m_Reader(reader)
        , m_Take(take)
        , m_Item(item)
        , m_Name(item.Text())
    {
    }

    bool Write()
    {
        const bool beginsHere = m_Request.From && m_Request.Bounds && !m_Request.IsContinued;
        if (beginsHere && !WriteBound(*m_Request.From, !m_Request.IsBackwards(), false)) return false;
        if (!WriteValues()) return false;
        const bool endsHere = m_Request.To && m_Request.Bounds && !m_HasMore;
        return !endsHere || WriteBound(*m_Request.To, m_Request.IsBackwards(), true);
    }

private:
    /// The nearest value outside the span: the last one up to `time`, or the first one from there on. One that lies just
    /// at the beginning belongs to the span.
    bool WriteBound(Micros time, bool isBefore, bool isEnd)
    {
        std::optional<Reading> bound;
        const TimeRange range = isBefore ? TimeRange{Beginning, time + 1} : TimeRange{time, End};
        m_Reader.ReadValues(m_Item, range, isBefore, 1, [&](const Reading& reading) {
            bound = reading;
            return false;
        });
        if (bound && bound->Utc == time && !isEnd) return true;
        if (!bound) return Row({time, Null{}, 0}, u"NoBound");
        return Row(*bound, u"Bound");
    }

    bool WriteValues()
    {
        const bool isBackwards = m_Request.IsBackwards();
        const Micros first = m_Request.From.value_or(isBackwards ? End - 1 : Beginning);
        const TimeRange range = isBackwards ? TimeRange{m_Request.To ? *m_Request.To + 1 : Beginning, first + 1}
                                            : TimeRange{first, m_Request.To.value_or(End)};
        const qint64 atMost = m_Request.AtMost;
        m_Reader.ReadValues(m_Item, range, isBackwards, atMost > 0 ? m_Request.Skipped + atMost + 1 : 0,
                            [&](const Reading& reading) { return WriteValue(reading); });
        return m_IsWanted;
    }

    bool WriteValue(const Reading& reading)
    {
        m_SameMoment = m_Moment == reading.Utc ? m_SameMoment + 1 : 0;
        m_Moment = reading.Utc;
        if (m_Request.IsContinued && reading.Utc == m_Request.From && m_SameMoment < m_Request.Skipped) return true;
        m_HasMore = m_Request.AtMost > 0 && m_Count == m_Request.AtMost;
        if (m_HasMore) {
            const QString continuing = QStringLiteral("%1+%2").arg(reading.Utc).arg(m_SameMoment);
            m_IsWanted = Row({reading.Utc, continuing, 0}, u"MoreData");
            return false;
        }
        ++m_Count;
        m_IsWanted = Row(reading, u"Raw");
        return m_IsWanted;
    }

    bool Row(const Reading& reading, QStringView quality)
    {
        return m_Take({m_Name, m_Clock.DateOf(reading.Utc), static_cast<double>(reading.Utc), reading.Value,
                       reading.State, quality.toString()});
    }

    const RawRequest& m_Request;
    HistoryReader& m_Reader;
    const Inquiry::Taker& m_Take;
    const ItemPath& m_Item;
    const QString m_Name;
    LocalClock m_Clock;
    qint64 m_Count = 0;
    std::optional<Micros> m_Moment;
    qint64 m_SameMoment = 0; ///< how many values of that moment came before
    bool m_HasMore = false;
    bool m_IsWanted = true;
};

} // namespace

void WriteRaw(const RawRequest& request, HistoryReader& reader, const Inquiry::Taker& take)
{
    for (const ItemPath& item : request.Items) {
        if (!RawRows(request, reader, take, item).Write()) return;
    }
}

Inquiry RawInquiry(const RawRequest& request, const QString& table)
{
    return {request.Text(u"ReadRaw"), s_Columns, [request, table](const DatabaseSession& session, const auto& take) {
                SqlReader reader(session, table);
                WriteRaw(request, reader, take);
            }};
}
