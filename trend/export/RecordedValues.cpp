#include "trend/export/RecordedValues.h"

#include "core/automation/SafeArray.h"
#include "trend/data/HistoryRows.h"
#include "trend/data/Rows.h"

#include <algorithm>

namespace {

constexpr qint32 FirstPage = 200; ///< says how long the values are
constexpr qint32 LargestPage = 50'000;
constexpr qint32 ResizedBy = 16;
/// Asked about in one call.
constexpr std::size_t PensTogether = 1000;

/// A row, roughly, with all that is kept of it.
qsizetype BytesOf(const Variant& cell)
{
    constexpr qsizetype Row = 100;
    const QString* text = cell.GetIf<QString>();
    return Row + (text ? 2 * text->size() : 0);
}

} // namespace

RecordedValues::RecordedValues(HistoryRef history, const ExportedPen& pen, const Span& of, qsizetype mostBytes,
                               bool readsAhead, IsWanted isWanted)
    : m_History(std::move(history))
    , m_Item(pen.Settings.Name())
    , m_Kind(pen.Kind)
    , m_To(of.To)
    , m_MostBytes(mostBytes)
    , m_ReadsAhead(readsAhead)
    , m_IsWanted(std::move(isWanted))
    , m_From(of.From)
    , m_AtMost(FirstPage)
{
}

std::optional<TableValue> RecordedValues::Next()
{
    while (m_Next == m_Page.size()) {
        if (!m_HasMore) return std::nullopt;
        m_Page.clear();
        m_Next = 0;
        ReadPage();
    }
    return std::move(m_Page[m_Next++]);
}

void RecordedValues::AskAhead()
{
    m_Ahead.emplace(m_History->ReadRaw(Variant(m_Item), TimeOf(m_From), TimeOf(m_To), false, m_AtMost, m_Continuing),
                    m_IsWanted);
}

void RecordedValues::ReadPage()
{
    while (!TryPage()) m_Page.clear();
    if (m_HasMore && m_ReadsAhead) AskAhead();
}

/// False: it is to be asked for again, with more or fewer values or because the server has not kept it for so long.
bool RecordedValues::TryPage()
{
    const bool wasAskedBefore = m_Ahead.has_value();
    if (!wasAskedBefore) AskAhead();
    try {
        return FillPage(*std::exchange(m_Ahead, std::nullopt));
    } catch (const ServerError&) {
        if (!wasAskedBefore) throw;
    }
    return false;
}

/// The next page has as many values as there is room for, if they are as long as these. False: this one is too large, or
/// has no room for one moment.
bool RecordedValues::FillPage(Rows rows)
{
    constexpr qsizetype TooLarge = 8;
    qsizetype bytes = 1;
    std::optional<RecordedRow> more;
    while (rows.Next()) {
        const RecordedRow row(rows);
        if (row.IsContinuation()) {
            more = row;
        } else {
            m_Page.push_back({row.Time, CellOf(row.Value, row.IsGood(), m_Kind)});
            bytes += BytesOf(row.Value);
        }
        if (bytes > TooLarge * m_MostBytes && m_AtMost > 1) return Resize(std::max(m_AtMost / ResizedBy, 1));
    }
    if (!m_IsWanted()) throw ExportCancelled();
    const bool isOneMoment = more && m_Page.front().Time == more->Time;
    if (isOneMoment && !m_WasTooLarge && m_AtMost < LargestPage)
        return Resize(std::min(m_AtMost * ResizedBy, LargestPage));
    m_WasTooLarge = false;
    m_HasMore = more.has_value();
    if (more) ContinueAt(*more);
    const auto fitting = m_MostBytes * static_cast<qsizetype>(m_Page.size()) / bytes;
    m_AtMost = static_cast<qint32>(std::clamp<qsizetype>(fitting, 1, LargestPage));
    return true;
}

bool RecordedValues::Resize(qint32 atMost)
{
    m_WasTooLarge = m_WasTooLarge || atMost < m_AtMost;
    m_AtMost = atMost;
    return false;
}

/// The values of one moment are read together: a database may bring them in another order the next time.
void RecordedValues::ContinueAt(const RecordedRow& row)
{
    const auto moment =
        std::find_if(m_Page.begin(), m_Page.end(), [&](const TableValue& value) { return value.Time == row.Time; });
    if (moment == m_Page.begin()) { // it fills the largest page
        m_Continuing = row.Value.Get<QString>();
        return;
    }
    m_Page.erase(moment, m_Page.end());
    m_From = row.Time;
    m_Continuing.clear();
}

std::vector<Variant> RecordedBefore(VelSQLHistory& history, std::span<const ExportedPen> pens, Micros time,
                                    const IsWanted& isWanted)
{
    std::vector<Variant> held;
    for (std::size_t first = 0; first < pens.size(); first += PensTogether) {
        const auto together = pens.subspan(first, std::min(PensTogether, pens.size() - first));
        QList<QString> names;
        for (const ExportedPen& pen : together) names += pen.Settings.Name();
        Rows rows(history.ReadRaw(SafeArray(names), TimeOf(time - 1), TimeOf(Span::Earliest), false, 1, {}), isWanted);
        QHash<QString, Variant> cells;
        while (rows.Next()) {
            const RecordedRow row(rows);
            const qsizetype pen = names.indexOf(row.Item);
            if (pen < 0 || row.IsContinuation()) continue;
            cells[row.Item] = CellOf(row.Value, row.IsGood(), together[static_cast<std::size_t>(pen)].Kind);
        }
        if (!isWanted()) throw ExportCancelled();
        for (const QString& name : names) held.push_back(cells.value(name));
    }
    return held;
}
