#include "remote/Frame.h"

#include "core/automation/Errors.h"

#include <QtEndian>

namespace {

/// Type, stream, size of the payload.
constexpr qsizetype HeaderSize = 9;

} // namespace

QByteArray Frame::Encode() const
{
    return char(Type) + Number(Stream) + Number(static_cast<quint32>(Payload.size())) + Payload;
}

QByteArray Frame::Number(quint32 number)
{
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

quint32 Frame::Number(const QByteArray& payload)
{
    if (payload.size() != sizeof(quint32)) throw DescribedError(QStringLiteral("A number has a wrong size."));
    return qFromBigEndian<quint32>(payload.constData());
}

std::optional<Frame> FrameReader::Next()
{
    const qsizetype left = m_Bytes.size() - m_Read;
    const char* header = m_Bytes.constData() + m_Read;
    if (left > 0 && static_cast<quint8>(*header) > static_cast<quint8>(FrameType::Close))
        throw DescribedError(QStringLiteral("No message begins like this."));
    const quint32 size = left < HeaderSize ? 0 : qFromBigEndian<quint32>(header + 5);
    if (size > Frame::MostPayload) throw DescribedError(QStringLiteral("A message is too long."));
    if (left < HeaderSize + size) {
        m_Bytes.remove(0, m_Read);
        m_Read = 0;
        return {};
    }
    m_Read += HeaderSize + size;
    return Frame{static_cast<FrameType>(*header), qFromBigEndian<quint32>(header + 1),
                 QByteArray(header + HeaderSize, size)};
}
