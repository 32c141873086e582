#include "server/plantfile/DefinitionToml.h"

#include "core/automation/SafeArray.h"

#include <limits>
#include <QStringList>

namespace {

QString Escaped(char16_t character)
{
    switch (character) {
    case u'"': return QStringLiteral("\\\"");
    case u'\\': return QStringLiteral("\\\\");
    case u'\n': return QStringLiteral("\\n");
    case u'\r': return QStringLiteral("\\r");
    case u'\t': return QStringLiteral("\\t");
    default: break;
    }
    if (character < u' ' || character == u'\u007F')
        return QStringLiteral("\\u%1").arg(int{character}, 4, 16, QLatin1Char('0'));
    return QChar(character);
}

} // namespace

QString TomlText(const QString& text)
{
    QString toml(u'"');
    // TOML takes no halves of surrogate pairs.
    for (const QChar character : QString::fromUtf8(text.toUtf8())) toml += Escaped(character.unicode());
    return toml + u'"';
}

QString DefinitionToToml(const Variant& definition)
{
    QStringList elements;
    for (const Variant& element : definition.Array().Of<Variant>()) {
        if (const bool* flag = element.GetIf<bool>())
            elements << (*flag ? QStringLiteral("true") : QStringLiteral("false"));
        else if (const qint16* choice = element.GetIf<qint16>()) elements << QString::number(*choice);
        else elements << TomlText(element.Get<QString>());
    }
    return u'[' + elements.join(QStringLiteral(", ")) + u']';
}

Variant DefinitionFromToml(const QList<Variant>& values)
{
    QList<Variant> elements;
    for (const Variant& value : values) {
        const qint32* number = value.GetIf<qint32>();
        const bool isChoice = number && *number >= 0 && *number <= std::numeric_limits<qint16>::max();
        elements.append(isChoice ? Variant(static_cast<qint16>(*number)) : value);
    }
    return SafeArray(std::move(elements));
}
