#include "tests/simulation/SimulatedRecorder.h"

#include "core/automation/PlainText.h"

namespace {

/// The threads' functions then do what there is to be done, and do not wait.
std::stop_token AtOnce()
{
    static const std::stop_source source = [] {
        std::stop_source made;
        made.request_stop();
        return made;
    }();
    return source.get_token();
}

} // namespace

QString SimulatedRecorder::RowOf(const RecordedValue& value)
{
    return QStringLiteral("%1\\%2=%3 at %4 %5")
        .arg(value.Controller, value.Item, value.Value.IsNull() ? QString() : ToPlainText(value.Value))
        .arg(MicrosecondsSince1970(value.Time))
        .arg(value.State);
}

SimulatedRecorder::SimulatedRecorder(Random& random, Trace& trace)
    : m_Random(random)
    , m_Trace(trace)
{
    Begin();
}

void SimulatedRecorder::Begin()
{
    m_Waiting = std::make_unique<WaitingValues>(QString(), SpoolSettings{m_Folder.path()}, QStringLiteral("database"),
                                                Durability::Process);
    m_Waiting->OnDisk().TakeOver();
    NoteWritten();
}

void SimulatedRecorder::Record(const RecordedValue& value)
{
    m_Recorded.append(RowOf(value));
    m_Waiting->Add(value);
}

void SimulatedRecorder::Keep()
{
    m_Waiting->Keep(AtOnce(), [] {});
}

void SimulatedRecorder::Write()
{
    if (m_Batch.Values.empty()) m_Batch = m_Waiting->Next(AtOnce());
    if (!m_Batch.Values.empty()) WriteBatch();
    for (const quint64 spool : m_Waiting->OnDisk().TakeEmptied()) m_Positions.erase(spool);
}

/// As the recorder does it: where an answer was lost, the database tells how far it has come.
void SimulatedRecorder::WriteBatch()
{
    if (!m_IsConnected) return;
    if (std::exchange(m_HasLostAnswer, false)) NoteWritten();
    m_Batch.SkipTo(m_Positions[m_Batch.Spool]);
    while (!m_Batch.Values.empty()) {
        const std::size_t count = m_Random.OneIn(2) ? m_Batch.Values.size() : 1 + m_Random.Below(m_Batch.Values.size());
        const SpoolPosition position = m_Batch.After(count);
        if (m_Random.OneIn(8)) return; // nothing has changed
        for (std::size_t i = 0; i < count; ++i) m_Rows.append(RowOf(m_Batch.Values[i]));
        m_Positions[position.Spool] = position.Sequence;
        m_HasLostAnswer = m_Random.OneIn(8);
        if (m_HasLostAnswer) return;
        m_Waiting->Written(position);
        m_Batch.SkipTo(position.Sequence);
    }
}

void SimulatedRecorder::NoteWritten()
{
    for (const quint64 spool : m_Waiting->OnDisk().Ids()) m_Waiting->Written({spool, m_Positions[spool]});
}

void SimulatedRecorder::Restart()
{
    m_Trace.Note(QStringLiteral("recorder: the next one"));
    Keep();
    m_Waiting.reset();
    m_Batch = {};
    Begin();
}

void SimulatedRecorder::Finish()
{
    SetConnected(true);
    for (int turn = 0; turn < 1000 && !m_Waiting->WaitUntilWritten(std::chrono::milliseconds(0)); ++turn) Write();
    qsizetype same = 0;
    while (same < std::min(m_Rows.size(), m_Recorded.size()) && m_Rows[same] == m_Recorded[same]) ++same;
    m_Trace.Require(m_Rows == m_Recorded,
                    QStringLiteral("%1 values were recorded, the database has %2, and from number "
                                   "%3 on others: %4 instead of %5")
                        .arg(m_Recorded.size())
                        .arg(m_Rows.size())
                        .arg(same)
                        .arg(m_Rows.value(same), m_Recorded.value(same)));
}
