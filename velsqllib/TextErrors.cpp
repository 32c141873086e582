#include "velsqllib/TextErrors.h"

#include "core/automation/SafeArray.h"

namespace {

constexpr qsizetype LongestQuote = 40;

} // namespace

QString Quote(QStringView text)
{
    QString shown = text.first(qMin(text.size(), LongestQuote)).toString();
    if (shown.size() < text.size()) {
        if (shown.back().isHighSurrogate()) shown.chop(1);
        shown += QStringLiteral("...");
    }
    for (QChar& c : shown) {
        if (c < u' ') c = u' ';
    }
    return u'"' + shown + u'"';
}

ValueError NotANumber(QStringView text)
{
    return ValueError(Quote(text) + QStringLiteral(" is not a number"));
}

ValueError Outside(QStringView text, const QString& lowest, const QString& highest)
{
    return ValueError(QStringLiteral("overflow, ") + Quote(text) + QStringLiteral(" is outside ") + lowest +
                      QStringLiteral(" to ") + highest);
}

ValueError NestedTooDeep()
{
    return ValueError(QStringLiteral("arrays are nested more than %1 deep").arg(MaxArrayDepth));
}
