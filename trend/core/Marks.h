#pragma once

#include "trend/core/TimeScale.h"

#include <optional>
#include <span>

/// Values that have no height, such as texts and arrays, in the order of time.
class Marks
{
public:
    struct Mark
    {
        bool operator==(const Mark&) const = default;

        Micros Time = 0;
        QString Text;
    };
    /// A mark where it is shown.
    struct Place
    {
        bool operator==(const Place&) const = default;

        double Pixel = 0;
        QString Text;
        int Hidden = 0; ///< so many more behind it have no room of their own
    };

    /// As Series::Append and Series::Replace.
    void Append(const Mark& mark);
    void Replace(const Span& span, const std::vector<Mark>& marks);

    /// The one that holds at a moment; nothing before the first.
    std::optional<Mark> At(Micros time) const;
    /// Those within a span, in order.
    std::span<const Mark> Within(const Span& span) const;

    /// The marks of a picture, each with `room` pixels for itself. The one that holds at the beginning stands there.
    std::vector<Place> Shown(const TimeScale& scale, double room) const;

private:
    std::vector<Mark>::const_iterator Find(Micros time) const;

    std::vector<Mark> m_Marks;
};
