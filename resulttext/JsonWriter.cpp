#include "resulttext/RowWriter.h"

#include <QHash>
#include <QSet>

#include <cmath>

namespace {

void AppendEscaped(QString& out, QChar character)
{
    switch (character.unicode()) {
    case u'"': out += QLatin1StringView("\\\""); break;
    case u'\\': out += QLatin1StringView("\\\\"); break;
    case u'\n': out += QLatin1StringView("\\n"); break;
    case u'\r': out += QLatin1StringView("\\r"); break;
    case u'\t': out += QLatin1StringView("\\t"); break;
    default: out += QStringLiteral("\\u%1").arg(uint{character.unicode()}, 4, 16, QChar(u'0'));
    }
}

void AppendString(QString& out, QStringView text)
{
    out += u'"';
    for (const QChar character : text) {
        const bool isPlain = character >= u' ' && character != u'"' && character != u'\\';
        if (isPlain) out += character;
        else AppendEscaped(out, character);
    }
    out += u'"';
}

/// A double holds every decimal number of 15 digits.
constexpr qint64 MostExactAmount = 999'999'999'999'999;

bool IsJsonNumber(const Variant& value)
{
    return std::visit(
        []<typename T>(const T& number) {
            if constexpr (std::is_same_v<T, Currency>)
                return number.TenThousandths >= -MostExactAmount && number.TenThousandths <= MostExactAmount;
            else if constexpr (std::is_floating_point_v<T>) return std::isfinite(number);
            else return std::is_integral_v<T> && !std::is_same_v<T, bool>;
        },
        value.Data());
}

/// A number is not used when another column has the name that it would make.
QStringList UniqueNames(const QStringList& columns)
{
    const QSet<QString> given(columns.begin(), columns.end());
    QHash<QString, int> uses;
    QStringList names;
    for (const QString& column : columns) {
        int& use = ++uses[column];
        const auto numbered = [&] { return column + u'_' + QString::number(use); };
        while (use > 1 && given.contains(numbered())) ++use;
        names.append(use == 1 ? column : numbered());
    }
    return names;
}

class JsonWriter : public RowWriter
{
public:
    explicit JsonWriter(ArrayText arrayText)
        : m_ArrayText(arrayText)
    {
    }

    void WriteHead(QString& out, const QStringList& columns) override
    {
        for (const QString& name : UniqueNames(columns)) {
            QString key = QLatin1StringView(m_Keys.isEmpty() ? "" : ", ");
            AppendString(key, name);
            m_Keys.append(key + QLatin1StringView(": "));
        }
        out += u'[';
    }

    void WriteRow(QString& out, const QList<Variant>& cells) override
    {
        out += QLatin1StringView(std::exchange(m_IsFirst, false) ? "\n{" : ",\n{");
        for (qsizetype i = 0; i < cells.size(); ++i) {
            out += m_Keys.at(i);
            AppendValue(out, cells[i]);
        }
        out += u'}';
    }

    void WriteTail(QString& out) override { out += QLatin1StringView(m_IsFirst ? "]\n" : "\n]\n"); }

private:
    void AppendValue(QString& out, const Variant& value) const
    {
        if (!HasValue(value)) out += QLatin1StringView("null");
        else if (const bool* flag = value.GetIf<bool>()) out += QLatin1StringView(*flag ? "true" : "false");
        else if (IsJsonNumber(value)) out += CellText(value, m_ArrayText);
        else AppendString(out, CellText(value, m_ArrayText));
    }

    const ArrayText m_ArrayText;
    QStringList m_Keys; ///< with all that stands before the value
    bool m_IsFirst = true;
};

} // namespace

RowWriterRef MakeJsonWriter(ArrayText arrayText)
{
    return std::make_unique<JsonWriter>(arrayText);
}
