#pragma once

#include "core/automation/SafeArray.h"
#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/reading/ReadRequest.h"

#include <kj/async-io.h>
#include <QTemporaryDir>

#include <chrono>
#include <ctime>

/// For names of items that no plant has.
class NoHost : public PlantHost
{
public:
    Moment Now() override { return {}; }
    void After(qint32, std::function<void()>) override {}
    void Record(const PlantItem&, const ItemReading&) override {}
    void ScanSoon(PlantController&) override {}
    void Warn(const QString&) override {}
};

/// A history that answers as it does clients, up to the last row of a result.
class AskedHistory
{
public:
    explicit AskedHistory(const QString& connection)
        : m_History(SettingsFor(connection, m_Spool.path()), m_Io.provider->getTimer())
    {
    }

    static QString NameOf(int item) { return QStringLiteral("Item%1").arg(item); }
    History& Recorded() { return m_History; }
    struct Answer
    {
        double Milliseconds = 1e12; ///< the best of some rounds, to the last row
        double Processor = 1e12;    ///< of this process alone, likewise
        qint64 Rows = 0;
    };
    Answer Ask(const Inquiry& asked)
    {
        Answer answer;
        for (int round = 0; round < Rounds; ++round) {
            const auto start = Clock::now();
            const std::clock_t processor = std::clock();
            const ResultSpoolRef result = m_History.Ask(asked, m_User).wait(m_Io.waitScope);
            while (!result->Progress().Complete)
                m_Io.provider->getTimer().afterDelay(kj::MILLISECONDS).wait(m_Io.waitScope);
            answer.Milliseconds =
                std::min(answer.Milliseconds, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
            answer.Processor =
                std::min(answer.Processor, static_cast<double>(std::clock() - processor) * 1000 / CLOCKS_PER_SEC);
            if (!result->Progress().Failure.isEmpty()) qFatal("%s", qPrintable(result->Progress().Failure));
            answer.Rows = result->Progress().RowsSoFar;
        }
        return answer;
    }
    ReadRequest RequestFor(int items, Micros from, Micros to) const
    {
        QList<QString> names;
        for (int item = 0; item < items; ++item) names.append(QStringLiteral("PLC1\\") + NameOf(item));
        return {m_Plant, SafeArray(std::move(names)), static_cast<double>(from), static_cast<double>(to)};
    }
    QString Table() const { return m_History.TableName(1); }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int Rounds = 5;

    static HistorySettings SettingsFor(const QString& connection, const QString& spool)
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = connection;
        settings.Destinations[0].MaxRecord = 0;
        settings.Destinations[0].MaxBytes = 0;
        settings.Spool.Folder = spool;
        return settings;
    }

    const QTemporaryDir m_Spool;
    kj::AsyncIoContext m_Io = kj::setupAsyncIo();
    NoHost m_Host;
    Plant m_Plant{m_Host};
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    History m_History;
};
