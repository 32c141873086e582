#pragma once

#include "server/history/History.h"

#include <kj/async-io.h>
#include <QDateTime>

#include <chrono>
#include <cmath>
#include <thread>

/// Values of items in turn, numbered from 0 on.
struct Rhythm
{
    QString ItemOf(qint64 number) const { return QStringLiteral("Temperature%1").arg(number % Items); }
    TimeStamp TimeOf(qint64 number) const
    {
        static const TimeStamp begin{std::chrono::seconds(QDateTime(QDate(2024, 1, 31), {}).toSecsSinceEpoch())};
        const double seconds = static_cast<double>(number / Items) * SecondsBetween;
        return begin + std::chrono::microseconds(std::llround(seconds * 1e6));
    }

    qint64 Items = 1000;
    double SecondsBetween = 10; ///< of the values of an item
    Durability Surviving = Durability::Process;
};

/// What values are made of, by the item's number and that of the value among those of its item.
struct ValueKind
{
    const char* Name;
    Variant (*ValueOf)(qint64 item, qint64 time);
};

/// Each item a wave of its own.
constexpr ValueKind Waves{"waves in steps of 0.25", [](qint64 item, qint64 time) {
                              return Variant(static_cast<double>(item) + static_cast<double>(time % 400) * 0.25);
                          }};

/// A SQLite history in a file of its own, asked as the server asks it.
class Recorded
{
public:
    using Clock = std::chrono::steady_clock;

    Recorded(const QString& path, const Rhythm& rhythm)
        : m_Rhythm(rhythm)
        , m_Io(kj::setupAsyncIo())
        , m_History(SettingsFor(path, rhythm), m_Io.provider->getTimer())
    {
    }

    /// Records values from `first` on; the names' texts are made before. Returns the seconds that it takes.
    double Record(qint64 first, qint64 count, const ValueKind& kind = Waves)
    {
        if (m_Names.empty())
            for (qint64 i = 0; i < m_Rhythm.Items; ++i) m_Names.push_back(m_Rhythm.ItemOf(i));
        const auto start = Clock::now();
        for (qint64 i = first; i < first + count; ++i) {
            m_History.Record({m_Controller, m_Names[static_cast<std::size_t>(i % m_Rhythm.Items)],
                              kind.ValueOf(i % m_Rhythm.Items, i / m_Rhythm.Items), m_Rhythm.TimeOf(i)});
            // Not more than may wait in memory.
            if ((i + 1) % 50'000 == 0 && !m_History.Flush(600'000)) qFatal("not written");
        }
        if (!m_History.Flush(600'000)) qFatal("not written");
        return Since(start);
    }

    /// The rows of the answer, and the seconds until its first and last row.
    struct Answer
    {
        qint64 Rows;
        double First;
        double Last;
    };
    Answer Ask(const QString& statement, bool toTheEnd = true)
    {
        const auto start = Clock::now();
        const ResultSpoolRef result = m_History.Ask({statement}, m_User).wait(m_Io.waitScope);
        double first = 0.0;
        for (;;) {
            const ResultProgress progress = result->Progress();
            if (first == 0.0 && (progress.RowsSoFar > 0 || progress.Complete)) first = Since(start);
            if (!progress.Failure.isEmpty()) qFatal("%s", qPrintable(progress.Failure));
            if (progress.Complete || (first > 0.0 && !toTheEnd)) return {progress.RowsSoFar, first, Since(start)};
            result->NoteAsked();
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

private:
    static double Since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }
    static HistorySettings SettingsFor(const QString& path, const Rhythm& rhythm)
    {
        HistorySettings settings;
        settings.Destinations[0].ConnectionString = QStringLiteral("Driver=SQLite;Database=") + path;
        settings.Spool.Folder = path + QStringLiteral(".spool");
        settings.Destinations[0].Surviving = rhythm.Surviving;
        settings.Destinations[0].MaxBytes = 0; // the floor deletes nothing either
        return settings;
    }

    const Rhythm m_Rhythm;
    kj::AsyncIoContext m_Io;
    const HistoryUserRef m_User = std::make_shared<HistoryUser>();
    History m_History;
    const QString m_Controller = QStringLiteral("PLC1");
    std::vector<QString> m_Names;
};

/// What all files in a folder take.
qint64 BytesBelow(const QString& folder);
