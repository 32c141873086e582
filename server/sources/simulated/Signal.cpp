#include "server/sources/simulated/Signal.h"

#include "core/automation/SafeArray.h"
#include "server/plant/Moment.h"

#include <cmath>
#include <numbers>

ConstantSignal::ConstantSignal(Variant value)
    : m_Value(std::move(value))
{
}

Variant ConstantSignal::Next(double, VarType)
{
    return m_Value;
}

CounterSignal::CounterSignal(double first, double last, double step, int ahead)
    : m_First(first)
    , m_Last(last)
    , m_Step(step)
{
    const double turn = step == 0.0 ? 1.0 : std::max(1.0, std::floor((last - first) / step) + 1.0);
    m_Next = first + std::fmod(ahead, turn) * step;
}

double CounterSignal::NumberAt(double)
{
    const double now = m_Next;
    m_Next += m_Step;
    const bool beyond = m_Step >= 0 ? m_Next > m_Last : m_Next < m_Last;
    if (beyond) m_Next = m_First;
    return now;
}

PeriodicSignal::PeriodicSignal(WaveForm form, const Wave& wave)
    : m_Form(form)
    , m_Wave(wave)
{
}

double PeriodicSignal::NumberAt(double seconds)
{
    const double turns = seconds / m_Wave.Period + m_Wave.Phase;
    const double turn = turns - std::floor(turns);
    const double height = m_Wave.High - m_Wave.Low;
    switch (m_Form) {
    case WaveForm::Ramp: return m_Wave.Low + height * turn;
    case WaveForm::Sine: return m_Wave.Low + height * (1.0 + std::sin(2.0 * std::numbers::pi * turn)) / 2.0;
    case WaveForm::Square: return turn < 0.5 ? m_Wave.High : m_Wave.Low;
    }
    return m_Wave.Low;
}

RandomWalkSignal::RandomWalkSignal(double low, double high, double step, quint32 seed)
    : m_Low(low)
    , m_High(high)
    , m_Random(seed)
    , m_Step(-step, step)
    , m_Now((low + high) / 2.0)
{
}

double RandomWalkSignal::NumberAt(double)
{
    const double step = m_Step(m_Random);
    const double next = m_Now + step;
    m_Now = std::clamp(next < m_Low || next > m_High ? m_Now - step : next, m_Low, m_High);
    return m_Now;
}

Variant ClockSignal::Next(double, VarType type)
{
    return ConvertTo(ToLocalDate(std::chrono::system_clock::now()), type);
}

ArraySignal::ArraySignal(std::vector<SignalRef> elements)
    : m_Elements(std::move(elements))
{
}

Variant ArraySignal::Next(double seconds, VarType type)
{
    QList<Variant> values;
    values.reserve(static_cast<qsizetype>(m_Elements.size()));
    for (const SignalRef& element : m_Elements) values.append(element->Next(seconds, ElementOf(type)));
    return ConvertTo(SafeArray(std::move(values)), type);
}
