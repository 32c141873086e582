#include "trend/export/PenColumn.h"

PenColumn::PenColumn(const ExportedPen& pen, std::unique_ptr<RecordedValues> recorded)
    : m_Pen(pen)
    , m_Recorded(std::move(recorded))
{
    Advance();
}

Variant PenColumn::Take(Micros time)
{
    if (NextTime() != time) return {};
    const Variant cell = m_Next->Cell;
    Advance();
    return cell;
}

void PenColumn::Advance()
{
    if (m_Recorded) m_Next = m_Recorded->Next();
    else m_Next.reset();
    if (m_Next) {
        m_LastRecorded = m_Next->Time;
        return;
    }
    m_Recorded.reset();
    while (!m_Next && m_NextHeard < m_Pen.Heard.size()) {
        const TableValue& heard = m_Pen.Heard[m_NextHeard++];
        if (!m_LastRecorded || heard.Time > *m_LastRecorded) m_Next = heard;
    }
}
