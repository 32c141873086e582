#pragma once

#include "core/automation/PlainText.h"
#include "server/history/History.h"
#include "tests/server/TestClient.h"
#include "velsqllib/WirePage.h"

#include <QDateTime>
#include <QTemporaryDir>

inline HistorySettings RecordingInto(const QString& connection, qint32 maxRecord = 0)
{
    static const QTemporaryDir spool;
    HistorySettings settings;
    settings.Spool.Folder = spool.path();
    settings.Destinations[0].ConnectionString = connection;
    settings.Destinations[0].MaxRecord = maxRecord;
    return settings;
}

/// A history asked as the server asks it; answers are read as the client reads them.
class AskedHistory
{
public:
    explicit AskedHistory(const HistorySettings& settings)
        : m_History(settings, TestLoop().provider->getTimer())
    {
    }

    /// A value of controller PLC1, 1.5 ms after the one before, or later; the first of them as long after midnight.
    void Record(const QString& item, const Variant& value, int later = 0)
    {
        Record({u"PLC1"_s, item, value, m_Time += std::chrono::microseconds(1500 + later)});
    }
    void Record(const RecordedValue& value) { m_History.Record(value); }
    bool Flush(int milliseconds = 20'000) { return m_History.Flush(milliseconds); }

    kj::Promise<ResultSpoolRef> Start(const QString& statement) { return m_History.Ask({statement}, m_User); }
    ResultSpoolRef Run(const QString& statement) { return Run(Inquiry{statement}); }
    /// Once all its rows have been read.
    ResultSpoolRef Run(const Inquiry& asked)
    {
        ResultSpoolRef result = Wait(m_History.Ask(asked, m_User));
        WaitUntil([&] { return result->Progress().Complete; });
        return result;
    }
    /// Lines with commas between: column names, then the rows; or the database's description.
    QString Ask(const QString& statement) { return Ask(Inquiry{statement}); }
    QString Ask(const Inquiry& asked)
    {
        return OutcomeOf([&]() -> QString {
            const ResultSpoolRef result = Run(asked);
            QStringList lines(result->Columns().join(u','));
            for (qint64 row = 0; row < result->Progress().RowsSoFar; ++row) lines << Row(*result, row);
            return lines.join(u'\n');
        });
    }
    /// The first value as typed text, or the database's description.
    QString FirstOf(const QString& statement)
    {
        return OutcomeOf([&] { return Cell(*Run(statement), 0, 0); });
    }
    static QString Row(const ResultSpool& result, qint64 row)
    {
        QStringList cells;
        for (int column = 0; column < result.Columns().size(); ++column) {
            const Variant value = Cell(result, row, column);
            cells << (value.IsNull() ? u"NULL"_s : ToPlainText(value));
        }
        return cells.join(u',');
    }
    static Variant Cell(const ResultSpool& result, qint64 row, int column)
    {
        const WirePage page(result.PageOf(row));
        return page.Cell(static_cast<qint32>(row - page.FirstRow()), column);
    }

    QStringList Statements() const { return m_History.Statements(); }
    /// The statement that was begun first of those that run.
    void Break() { m_History.BreakStatement(Statements().value(0).section(u':', 0, 0).toInt()); }

private:
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    History m_History;
    TimeStamp m_Time{std::chrono::milliseconds(QDate(2024, 1, 31).startOfDay().toMSecsSinceEpoch())};
};
