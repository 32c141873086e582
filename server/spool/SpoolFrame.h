#pragma once

#include "server/database/RecordedValue.h"

#include <QByteArray>

#include <optional>
#include <span>
#include <vector>

/// What stands in front of a frame's values.
struct FrameHeader
{
    static constexpr qsizetype Bytes = 44;

    quint32 Check = 0; ///< CRC-32 of all that follows it in the frame
    quint32 PayloadBytes = 0;
    quint32 Count = 0;
    quint64 First = 0; ///< sequence of the first value; the others count on from it
    qint64 Begin = 0;  ///< times of the oldest and the newest value, microseconds since 1970
    qint64 End = 0;

    quint64 Last() const { return First + Count - 1; }
    qsizetype FrameBytes() const { return Bytes + qsizetype{PayloadBytes}; }
    /// Empty when no frame begins there.
    static std::optional<FrameHeader> Read(QByteArrayView bytes);
};

/// Consecutive values as they wait on disk: a frame stands for itself, so that one that is damaged costs no other.
/// Values keep their types; objects are NULL.
QByteArray EncodeFrame(quint64 first, std::span<const RecordedValue> values);
/// The same into memory that is used again: what is in `frame` goes.
void EncodeFrame(quint64 first, std::span<const RecordedValue> values, QByteArray& frame);

/// Where a whole frame begins, at `at` or behind damage there; -1 when none does.
qsizetype FindFrame(QByteArrayView bytes, qsizetype at);

/// Empty when the frame, from its header on, is damaged.
std::optional<std::vector<RecordedValue>> DecodeFrame(QByteArrayView frame);

/// Microseconds since 1970, as everything that waits on disk counts them.
qint64 MicrosecondsSince1970(TimeStamp time);
