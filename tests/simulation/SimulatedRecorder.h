#pragma once

#include "server/spool/WaitingValues.h"
#include "tests/simulation/Random.h"
#include "tests/simulation/Trace.h"

#include <QTemporaryDir>

/// What waits for a database, with both of its threads as steps on the loop, and a database that may be away, refuse
/// or lose its answer.
class SimulatedRecorder
{
public:
    SimulatedRecorder(Random& random, Trace& trace);

    /// "<controller>\<item>=<value> at <microseconds since 1970> <state>"
    static QString RowOf(const RecordedValue& value);

    void Record(const RecordedValue& value);
    /// The keeping thread has its turn: all that waits goes to the disk.
    void Keep();
    /// The writing thread has its turn.
    void Write();
    void SetConnected(bool isConnected) { m_IsConnected = isConnected; }
    /// The server ends, and the next one goes on with what waits.
    void Restart();
    /// The database is back for good; requires that it has everything once and in order.
    void Finish();
    /// All that was to be recorded.
    const QStringList& Recorded() const { return m_Recorded; }

private:
    void Begin();
    void WriteBatch();
    void NoteWritten();

    Random& m_Random;
    Trace& m_Trace;
    QTemporaryDir m_Folder;
    std::unique_ptr<WaitingValues> m_Waiting;
    SpoolBatch m_Batch;
    bool m_IsConnected = true;
    bool m_HasLostAnswer = false;
    QStringList m_Recorded;
    // The database.
    QStringList m_Rows;
    std::map<quint64, quint64> m_Positions;
};
