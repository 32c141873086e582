#include "core/Colours.h"

QColor Colours::OnBase(const QPalette& palette, const QColor& ink, double share)
{
    const QColor base = palette.color(QPalette::Base);
    const auto mix = [share](int from, int to) { return static_cast<int>(from + (to - from) * share); };
    return {mix(base.red(), ink.red()), mix(base.green(), ink.green()), mix(base.blue(), ink.blue())};
}

QColor Colours::Readable(const QPalette& palette, const QColor& onLight, const QColor& onDark)
{
    return palette.color(QPalette::Base).lightness() < 128 ? onDark : onLight;
}

QColor Colours::Error(const QPalette& palette)
{
    return Readable(palette, QColor(0xb3, 0x1b, 0x1b), QColor(0xff, 0x8a, 0x80));
}
