#pragma once

#include "trend/export/RecordedValues.h"

/// The values of a pen, one after the other: what was recorded, and behind that what the trend has heard meanwhile.
class PenColumn
{
public:
    /// `recorded`: null where there is no history. Throws as RecordedValues does.
    PenColumn(const ExportedPen& pen, std::unique_ptr<RecordedValues> recorded);

    /// Span::Latest at the end.
    Micros NextTime() const { return m_Next ? m_Next->Time : Span::Latest; }
    /// The next one if it has this time, else EMPTY.
    Variant Take(Micros time);
    bool WasRecorded() const { return m_LastRecorded.has_value(); }

private:
    void Advance();

    const ExportedPen& m_Pen;
    std::unique_ptr<RecordedValues> m_Recorded;
    std::optional<Micros> m_LastRecorded;
    std::size_t m_NextHeard = 0;
    std::optional<TableValue> m_Next;
};
