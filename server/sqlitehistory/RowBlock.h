#pragma once

#include <QByteArray>

#include <limits>

/// A value as SQLite keeps it. Bytes point into the block that it was read from, or wherever the writer has them.
struct SqlCell
{
    enum class Type : quint8
    {
        Null,
        Integer,
        Real,
        Text,
        Blob
    };

    bool operator==(const SqlCell& other) const;
    bool IsNumber() const { return Kind == Type::Integer || Kind == Type::Real; }
    double Number() const { return Kind == Type::Integer ? static_cast<double>(Integer) : Real; }

    Type Kind = Type::Null;
    qint64 Integer = 0;
    double Real = 0.0;
    QByteArrayView Bytes;
};

/// As a column of SQLite with numeric affinity keeps a number or a text: whole numbers as integers, texts that are
/// numbers as numbers. The text must live as long as the cell.
SqlCell NumericCell(double number);
SqlCell NumericCell(QByteArrayView text);

/// A row of the history.
struct HistoryRow
{
    /// The offset of a row whose item_time is no time.
    static constexpr qint32 NoOffset = std::numeric_limits<qint32>::min();

    bool HasUtc() const { return Offset != NoOffset; }
    /// Microseconds since 1970-01-01 UTC.
    qint64 Utc() const { return Local - qint64{Offset} * 1'000'000; }

    qint64 Item = 0;  ///< its number in the partition
    qint64 Local = 0; ///< see TimeKey
    qint32 Offset = 0;
    quint8 State = 0;
    bool IsRemoved = false;   ///< only keeps the places of those behind it
    bool HasTimeText = false; ///< Time holds what item_time is; otherwise it is the canonical text of Local
    SqlCell Time;
    SqlCell Value;
};

/// Packs rows one after the other. A row of a steady item takes about three bytes and its value.
class RowBlockWriter
{
public:
    void Append(const HistoryRow& row);
    const QByteArray& Bytes() const { return m_Bytes; }
    qint64 Rows() const { return m_Rows; }
    void Clear() { *this = {}; }

private:
    void Put(quint64 number);
    void PutSigned(qint64 number);
    void Put(QByteArrayView bytes);
    void PutTime(const SqlCell& time);

    QByteArray m_Bytes;
    qint64 m_Rows = 0;
    HistoryRow m_Last;
    qsizetype m_LastBytesAt = 0; ///< where m_Last's bytes are: m_Bytes moves
    quint64 m_Step = 0;
};

/// Reads what RowBlockWriter has packed.
class RowBlockReader
{
public:
    explicit RowBlockReader(QByteArrayView bytes)
        : m_Rest(bytes)
    {
    }

    /// False at the end. Throws SqliteError when this is no block of rows.
    bool Next(HistoryRow& row);

private:
    [[noreturn]] static void ThrowDamage();
    quint8 Byte();
    quint64 Number();
    qint64 Signed();
    QByteArrayView Take(quint64 count);
    SqlCell Value(quint8 packing);
    SqlCell Time();

    QByteArrayView m_Rest;
    HistoryRow m_Last;
    quint64 m_Step = 0;
};
