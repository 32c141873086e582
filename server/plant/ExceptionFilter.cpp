#include "server/plant/ExceptionFilter.h"

#include "core/automation/VariantCompare.h"
#include "server/plant/Convert.h"

#include <algorithm>
#include <cmath>

namespace {

/// Empty for what has no distance to another value, such as True and False.
std::optional<double> MeasureOf(const Variant& value)
{
    const VarType type = value.Type();
    return type == VT_EMPTY || type == VT_BOOL || type == VT_BSTR ? std::nullopt : NumberOf(value);
}

} // namespace

std::vector<ItemReading> ExceptionFilter::Take(const ItemReading& reading)
{
    const bool isNews = !m_Recorded || IsNews(reading);
    if (!isNews && !IsOverdue(reading)) {
        m_LeftOut = reading;
        return {};
    }
    std::vector<ItemReading> due;
    if (isNews && m_LeftOut) due.push_back(*m_LeftOut);
    due.push_back(reading);
    m_Recorded = reading;
    m_LeftOut.reset();
    return due;
}

bool ExceptionFilter::IsNews(const ItemReading& reading) const
{
    if (reading.State != m_Recorded->State) return true;
    if (SameValue(reading.Value, m_Recorded->Value)) return false;
    const auto number = MeasureOf(reading.Value);
    const auto recorded = MeasureOf(m_Recorded->Value);
    return !number || !recorded || !(std::abs(*number - *recorded) < m_Rule.Change); // also when one is a NaN
}

/// Also when the next reading would come too late if it takes as long as this one did, and when the clock was set back.
/// That it may take a tenth less keeps readings that come a little early from being recorded one too soon.
bool ExceptionFilter::IsOverdue(const ItemReading& reading) const
{
    using namespace std::chrono_literals;
    if (m_Rule.AtLeast <= 0s) return false;
    const auto silence = reading.Time - m_Recorded->Time;
    const auto sinceLast = reading.Time - (m_LeftOut ? *m_LeftOut : *m_Recorded).Time;
    return silence < 0s || silence + std::max<TimeStamp::duration>(sinceLast, 0s) * 9 / 10 >= m_Rule.AtLeast;
}
