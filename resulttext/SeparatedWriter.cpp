#include "resulttext/RowWriter.h"

#include <algorithm>

namespace {

struct Dialect
{
    QChar Separator;
    QLatin1StringView LineEnd;
    bool (*NeedsQuotes)(QStringView text);
};

bool HoldsAnyOf(QStringView text, QStringView characters)
{
    return std::any_of(text.cbegin(), text.cend(), [&](QChar character) { return characters.contains(character); });
}

bool NeedsQuotesBetweenTabs(QStringView text)
{
    return text.startsWith(u'"') || HoldsAnyOf(text, u"\t\r\n");
}

bool NeedsQuotesInCsv(QStringView text)
{
    const bool endsInput = text == u"\\."; // where a database reads it back
    return text.isEmpty() || endsInput || HoldsAnyOf(text, u",\"\r\n");
}

constexpr Dialect Tabs = {u'\t', QLatin1StringView("\n"), NeedsQuotesBetweenTabs};
constexpr Dialect Commas = {u',', QLatin1StringView("\r\n"), NeedsQuotesInCsv};

class SeparatedWriter : public RowWriter
{
public:
    SeparatedWriter(const Dialect& dialect, ArrayText arrayText)
        : m_Dialect(dialect)
        , m_ArrayText(arrayText)
    {
    }

    void WriteHead(QString& out, const QStringList& columns) override
    {
        WriteLine(out, columns, [&](const QString& name) { Append(out, name); });
    }

    void WriteRow(QString& out, const QList<Variant>& cells) override
    {
        WriteLine(out, cells, [&](const Variant& cell) {
            if (HasValue(cell)) Append(out, CellText(cell, m_ArrayText));
        });
    }

private:
    template <typename Cells, typename AppendCell>
    void WriteLine(QString& out, const Cells& cells, const AppendCell& append) const
    {
        bool isFirst = true;
        for (const auto& cell : cells) {
            if (!std::exchange(isFirst, false)) out += m_Dialect.Separator;
            append(cell);
        }
        out += m_Dialect.LineEnd;
    }

    void Append(QString& out, QString text) const
    {
        if (!m_Dialect.NeedsQuotes(text)) out += text;
        else out += u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"';
    }

    const Dialect& m_Dialect;
    const ArrayText m_ArrayText;
};

} // namespace

RowWriterRef MakeTabWriter(ArrayText arrayText)
{
    return std::make_unique<SeparatedWriter>(Tabs, arrayText);
}

RowWriterRef MakeCsvWriter(ArrayText arrayText)
{
    return std::make_unique<SeparatedWriter>(Commas, arrayText);
}
