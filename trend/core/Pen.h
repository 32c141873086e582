#pragma once

#include "trend/core/Marks.h"
#include "trend/core/Series.h"
#include "trend/core/ValueScale.h"

#include <array>

/// What the values of a pen are, and so how they are shown.
enum class PenKind
{
    Numbers, ///< a line over a value axis
    Boolean, ///< a lane that is filled where the value is not 0
    Texts    ///< marks in a lane: texts, arrays and whatever else has no height
};

/// The state of a value, as the server counts it.
enum class PenState
{
    Good = 0,
    Failed = 1,
    Undefined = 2
};

/// The values of an axis that somebody has fixed; `Bottom` lies below `Top`, both are numbers.
struct ValueRange
{
    bool operator==(const ValueRange&) const = default;

    double Bottom = 0;
    double Top = 1;
};

/// Colours as 0xRRGGBB that also the colour-blind tell apart, in the order in which new pens get them. The picture makes
/// them a little lighter or darker where its background asks for it.
inline constexpr std::array<quint32, 8> PenColours = {0x0072B2, 0xD55E00, 0x009E73, 0xCC79A7,
                                                      0xE69F00, 0x56B4E9, 0x808080, 0xF0E442};

/// What an operator chooses of a pen, and a view file keeps.
struct PenSettings
{
    bool operator==(const PenSettings&) const = default;
    /// As people write it: "PLC1\Level".
    QString Name() const { return Controller + u'\\' + Item; }

    QString Controller;
    QString Item;
    QString Unit;                   ///< of the item's tag; empty when there is none
    quint32 Colour = PenColours[0]; ///< 0xRRGGBB
    bool IsVisible = true;
    Drawing Drawn = Drawing::Step;
    bool HasOwnAxis = false;         ///< else it stands on the common one
    std::optional<ValueRange> Range; ///< of its own axis; nothing: what lies in view
    std::vector<double> Limits;      ///< lines across the picture
};

/// An item in a picture: what was chosen, and what is known of it.
struct Pen
{
    PenSettings Settings;
    PenKind Kind = PenKind::Numbers;
    Series Values;   ///< numbers, and booleans as 0 and 1
    Marks Texts;     ///< of a pen of PenKind::Texts
    QString Present; ///< the value now, as a text
    PenState State = PenState::Undefined;
    Micros Time = 0;    ///< of the value now; 0 when there is none
    QString Note;       ///< what the picture says of it, such as "no such item"; mostly empty
    bool IsOld = false; ///< the server is gone: the last that was heard
};
