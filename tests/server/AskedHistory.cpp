#include "tests/server/AskedHistory.h"

#include "core/automation/PlainText.h"

#include <capnp/serialize.h>

AskedHistory::AskedHistory(const HistorySettings& settings)
    : m_History(settings)
{
    TestLoop(); // must be there before the first promise
}

void AskedHistory::Record(const QString& item, const Variant& value)
{
    m_Time += std::chrono::microseconds(1500);
    m_History.Record({QStringLiteral("PLC1"), item, value, m_Time});
}

kj::Promise<ResultSpoolRef> AskedHistory::Start(const QString& statement)
{
    return m_History.Execute(statement);
}

ResultSpoolRef AskedHistory::Run(const QString& statement)
{
    ResultSpoolRef result = Start(statement).wait(TestLoop().waitScope);
    WaitUntil([&] { return result->Progress().Complete; });
    return result;
}

QStringList AskedHistory::Ask(const QString& statement)
{
    QStringList lines;
    const QString failure = FailureOf([&] {
        const ResultSpoolRef result = Run(statement);
        lines.append(result->Columns().join(u','));
        for (qint64 row = 0; row < result->Progress().RowsSoFar; ++row) lines.append(Row(*result, row));
    });
    return failure == QStringLiteral("succeeded") ? lines : QStringList(failure);
}

QString AskedHistory::Row(const ResultSpool& result, qint64 row)
{
    const auto bytes = result.PageOf(row);
    capnp::FlatArrayMessageReader message(
        kj::arrayPtr(reinterpret_cast<const capnp::word*>(bytes.begin()), bytes.size() / sizeof(capnp::word)));
    const auto page = message.getRoot<wire::ResultPage>();
    NamedObjects objects;
    QStringList cells;
    for (int column = 0; column < page.getColumnCount(); ++column) {
        const auto at = (row - page.getFirstRow()) * page.getColumnCount() + column;
        const Variant value = ReadValue(page.getCells()[static_cast<uint>(at)], objects);
        cells.append(value.IsNull() ? QStringLiteral("NULL") : ToPlainText(value));
    }
    return cells.join(u',');
}
