#include "server/sqlitehistory/Summaries.h"

qint64 SpanBegin(qint64 utc, qint64 span)
{
    const qint64 rest = utc % span;
    return utc - (rest < 0 ? rest + span : rest);
}

Summary SummaryOf(const HistoryRow& row, qint64 start)
{
    const bool counts = row.State == 0 && row.Value.IsNumber();
    const double number = row.Value.Number();
    const qint64 utc = row.Utc();
    return {start, 1, counts ? 1 : 0, number, number, number, number, number, utc, utc, row.State};
}

void SummaryMaker::Add(const HistoryRow& row)
{
    if (row.IsRemoved || !row.HasUtc()) return;
    const qint64 utc = row.Utc();
    const bool isNew = !m_Last || utc < m_Last->Start || utc >= m_Last->Start + m_Span;
    const qint64 start = isNew ? SpanBegin(utc, m_Span) : m_Last->Start;
    if (isNew) m_Last = &m_Made[start];
    m_Last->Add(SummaryOf(row, start));
}

/// Each as seven rows of a block, or two. The times of the last five mean nothing, but go on in equal steps, which take
/// no room.
QByteArray PackMinutes(const Summaries& minutes)
{
    RowBlockWriter block;
    HistoryRow row;
    const auto put = [&](qint64 time, SqlCell::Type type, qint64 integer, double real) {
        row.Local = time;
        row.Value = {type, integer, real, {}};
        block.Append(row);
    };
    for (const auto& [start, minute] : minutes) {
        const bool hasNumbers = minute.Numbers > 0;
        row.State = static_cast<quint8>(minute.WorstState);
        put(hasNumbers ? minute.FirstUtc : start, SqlCell::Type::Integer, minute.Rows, 0.0);
        put(hasNumbers ? minute.LastUtc : start, SqlCell::Type::Integer, minute.Numbers, 0.0);
        if (!hasNumbers) continue;
        const qint64 step = minute.LastUtc - minute.FirstUtc;
        for (const double number : {minute.First, minute.Last, minute.Smallest, minute.Largest, minute.Sum})
            put(row.Local + step, SqlCell::Type::Real, 0, number);
    }
    return block.Bytes();
}

std::vector<Summary> UnpackMinutes(QByteArrayView bytes)
{
    std::vector<Summary> minutes;
    RowBlockReader block(bytes);
    HistoryRow row;
    while (block.Next(row)) {
        Summary minute;
        minute.Start = SpanBegin(row.Local, Minute);
        minute.Rows = row.Value.Integer;
        minute.WorstState = row.State;
        minute.FirstUtc = row.Local;
        block.Next(row);
        minute.Numbers = row.Value.Integer;
        minute.LastUtc = row.Local;
        for (double* number : {&minute.First, &minute.Last, &minute.Smallest, &minute.Largest, &minute.Sum}) {
            if (minute.Numbers == 0) break;
            block.Next(row);
            *number = row.Value.Real;
        }
        minutes.push_back(minute);
    }
    return minutes;
}
