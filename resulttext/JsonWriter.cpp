#include "resulttext/JsonText.h"
#include "resulttext/RowWriter.h"

#include <QHash>
#include <QSet>

namespace {

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
            AppendJsonString(key, name);
            m_Keys.append(key + QLatin1StringView(": "));
        }
        out += u'[';
    }

    void WriteRow(QString& out, const QList<Variant>& cells) override
    {
        out += QLatin1StringView(std::exchange(m_IsFirst, false) ? "\n{" : ",\n{");
        for (qsizetype i = 0; i < cells.size(); ++i) {
            out += m_Keys.at(i);
            AppendJson(out, cells[i], m_ArrayText);
        }
        out += u'}';
    }

    void WriteTail(QString& out) override { out += QLatin1StringView(m_IsFirst ? "]\n" : "\n]\n"); }

private:
    const ArrayText m_ArrayText;
    QStringList m_Keys; ///< with all that stands before the value
    bool m_IsFirst = true;
};

} // namespace

RowWriterRef MakeJsonWriter(ArrayText arrayText)
{
    return std::make_unique<JsonWriter>(arrayText);
}
