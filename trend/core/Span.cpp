#include "trend/core/Span.h"

#include <algorithm>
#include <cmath>

Span Span::Moved(double part) const
{
    const double most = static_cast<double>(Latest - Earliest);
    const auto distance = static_cast<Micros>(std::clamp(part * static_cast<double>(Length()), -most, most));
    return Span{From + distance, To + distance}.Bounded();
}

Span Span::Zoomed(double factor, Micros fixed) const
{
    const double longest = static_cast<double>(Latest - Earliest);
    const double length = std::clamp(static_cast<double>(Length()) * factor, static_cast<double>(Shortest), longest);
    const double before = static_cast<double>(fixed - From) / static_cast<double>(Length());
    const auto from = fixed - static_cast<Micros>(std::clamp(std::round(before * length), -longest, longest));
    return Span{from, from + static_cast<Micros>(length)}.Bounded();
}

Span Span::EndingAt(Micros end) const
{
    return Span{end - Length(), end}.Bounded();
}

Span Span::Bounded() const
{
    const Micros length = std::clamp(Length(), Shortest, Latest - Earliest);
    const Micros from = std::clamp(From, Earliest, Latest - length);
    return {from, from + length};
}
