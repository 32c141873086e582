#pragma once

#include "trend/data/HistoryRows.h"
#include "trend/export/ExportOrder.h"

#include "core/automation/ServerObjects.h"

#include <functional>
#include <optional>

/// Whether anybody waits for the table any more; is asked often.
using IsWanted = std::function<bool()>;

/// Nobody waits any more.
struct ExportCancelled
{
};

/// Brings what was recorded of an item in a span, in the order of time and each value once, in pages: of a year only a
/// few thousand values are in memory.
class RecordedValues
{
public:
    /// `mostBytes`: what a page takes in memory, about. `readsAhead`: the server keeps a result for it all the time.
    RecordedValues(HistoryRef history, const ExportedPen& pen, const Span& of, qsizetype mostBytes, bool readsAhead,
                   IsWanted isWanted);

    /// Nothing at the end. Throws ServerError and ExportCancelled.
    std::optional<TableValue> Next();

private:
    void AskAhead();
    void ReadPage();
    bool TryPage();
    bool FillPage(Rows rows);
    bool Resize(qint32 atMost);
    void ContinueAt(const RecordedRow& row);

    const HistoryRef m_History;
    const QString m_Item;
    const PenKind m_Kind;
    const Micros m_To;
    const qsizetype m_MostBytes;
    const bool m_ReadsAhead;
    const IsWanted m_IsWanted;
    Micros m_From;              ///< where the next page begins
    QString m_Continuing;       ///< and where in this moment; mostly empty
    qint32 m_AtMost;            ///< values in a page
    bool m_WasTooLarge = false; ///< the page that is being read, at first
    bool m_HasMore = true;
    std::optional<Rows> m_Ahead; ///< the next page, which the server reads meanwhile
    std::vector<TableValue> m_Page;
    std::size_t m_Next = 0;
};

/// The last value of each pen before a moment; EMPTY where none was recorded. Throws ServerError and ExportCancelled.
std::vector<Variant> RecordedBefore(VelSQLHistory& history, std::span<const ExportedPen> pens, Micros time,
                                    const IsWanted& isWanted);
