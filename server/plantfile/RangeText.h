#pragma once

#include <QString>

#include <optional>

/// Numbered items: a name such as "Pump{001..500}" stands for one item a number, and in the entry's other texts "{n}",
/// or a calculation such as "{100+2*n}", for that number. A brace itself is written twice.

/// The most items of a plant file.
inline constexpr qint64 MostItems = 2'000'000;

/// The number of one item, and how many digits numbers have at least in its texts.
struct RangeNumber
{
    qint64 Value = 0;
    int Digits = 1;
};

/// A name taken apart; without a range it is all in front of it.
struct NameRange
{
    QString Front;
    QString Behind = {};
    std::optional<qint64> First = {}; ///< none: there is no range
    qint64 Last = 0;
    int Digits = 1;

    QString NameOf(const RangeNumber& number) const;
};

/// Throws DescribedError for braces that hold no range, more than one range, and ranges that are too long or count
/// down.
NameRange ParseName(const QString& name);

/// `text` with its calculations done. Throws DescribedError for one that is wrong or leaves 64 bits.
QString FillIn(const QString& text, const RangeNumber& number);

/// The number when the text is one calculation and nothing else. Throws DescribedError as FillIn.
std::optional<qint64> OnlyNumber(const QString& text, const RangeNumber& number);
