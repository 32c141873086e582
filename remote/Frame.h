#pragma once

#include <QByteArray>

#include <optional>

enum class FrameType : quint8
{
    Alive,  ///< says nothing else
    Serve,  ///< to the bridge: reach the server; payload: 1 when one may be started
    Server, ///< from the bridge: a ServerNews byte, then text: why it is down, or which one it is
    Open,   ///< to the bridge: a new stream to the server
    Data,
    Credit, ///< payload: so many bytes of the stream have been passed on
    Close   ///< no more data follows on the stream
};

/// What a Server frame says.
enum class ServerNews : quint8
{
    Down,
    Up,
    Started ///< up, by the bridge itself
};

/// One message between launcher and bridge.
struct Frame
{
    static constexpr qsizetype MostPayload = 64 * 1024;

    FrameType Type = FrameType::Alive;
    quint32 Stream = 0;
    QByteArray Payload = {};

    QByteArray Encode() const;
    static QByteArray Number(quint32 number);
    /// Throws DescribedError for another size than a number's.
    static quint32 Number(const QByteArray& payload);
};

/// Cuts what a pipe delivers into frames.
class FrameReader
{
public:
    void Add(const QByteArray& bytes) { m_Bytes += bytes; }
    /// The next complete frame. Throws DescribedError for bytes that cannot begin one.
    std::optional<Frame> Next();

private:
    QByteArray m_Bytes;
    qsizetype m_Read = 0;
};
