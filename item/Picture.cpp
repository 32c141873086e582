#include "item/Picture.h"

#include "core/automation/Errors.h"
#include "core/modAPI.h"

#include <QFile>
#include <QImageReader>

#include <cstring>

namespace {

/// The most that a decoder may unpack: 128 MB at four bytes a pixel, Qt's own limit.
constexpr qint64 MaxClaimedPoints = 32 * 1024 * 1024;
/// The most that a picture may occupy while it is shown; larger ones are reduced.
constexpr qint64 MaxKeptBytes = 16 * 1024 * 1024;
constexpr QSize ReducedBox(2048, 2048);

QByteArray View(const QList<quint8>& bytes)
{
    return QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.constData()), bytes.size());
}

/// Passes the bytes to a decoder and notices when it wants more than there are: some decoders accept a truncated
/// picture.
class PictureBytes : public QIODevice
{
public:
    explicit PictureBytes(const QList<quint8>& bytes)
        : m_Bytes(View(bytes))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    qint64 size() const override { return m_Bytes.size(); }
    void Forget() { m_ReadShort = m_ReadNothing = false; }
    bool EndedTooEarly(const QByteArray& format) const
    {
        // The first reads row by row, the second in blocks of a fixed size, so that its last block is always short.
        if (format == "bmp") return m_ReadShort;
        if (format == "jpeg") return m_ReadNothing;
        return false; // all others notice this themselves
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 count = std::min(maxSize, m_Bytes.size() - pos());
        std::memcpy(data, m_Bytes.constData() + pos(), static_cast<std::size_t>(count));
        m_ReadShort |= count < maxSize;
        m_ReadNothing |= count == 0 && maxSize > 0;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_Bytes;
    bool m_ReadShort = false;
    bool m_ReadNothing = false;
};

[[noreturn]] void ThrowNoPicture(const QString& reason)
{
    throw DescribedError(QStringLiteral("The value cannot be shown as a picture: %1").arg(reason));
}

void CheckClaimedSize(QSize size)
{
    if (qint64{size.width()} * size.height() > MaxClaimedPoints)
        ThrowNoPicture(QStringLiteral("it claims %1 x %2 points").arg(size.width()).arg(size.height()));
}

QSize Reduced(QSize size)
{
    return size.scaled(ReducedBox, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

/// Some decoders can reduce while they read, which saves time and memory.
void ReduceWhileReading(QImageReader& reader, QSize size)
{
    const bool isLarge = qint64{size.width()} * size.height() * 4 > MaxKeptBytes;
    if (isLarge && reader.supportsOption(QImageIOHandler::ScaledSize)) reader.setScaledSize(Reduced(size));
}

bool Write(QFile& file, const QList<quint8>& bytes)
{
    // The old contents are overwritten and then cut off: emptying a large file first takes longer than writing it.
    return file.write(View(bytes)) == bytes.size() && file.resize(bytes.size());
}

} // namespace

void WritePictureFile(const QList<quint8>& bytes)
{
    QFile file(modAPI::WritableProgramFolder() + QStringLiteral("/Temp.bmp"));
    const bool opened = file.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
    if (opened && Write(file, bytes)) return;
    const QString reason = file.errorString();
    if (opened) file.remove();
    throw DescribedError(QStringLiteral("The picture file %1 cannot be written: %2").arg(file.fileName(), reason));
}

QImage ReadPicture(const QList<quint8>& bytes)
{
    PictureBytes device(bytes);
    QImageReader reader(&device);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    const QByteArray format = reader.format();
    const QSize size = reader.size();
    CheckClaimedSize(size);
    ReduceWhileReading(reader, size);
    device.Forget(); // only the decoding itself counts
    const QImage picture = reader.read();
    if (picture.isNull()) ThrowNoPicture(reader.errorString());
    if (device.EndedTooEarly(format)) ThrowNoPicture(QStringLiteral("it ends too early"));
    return picture.sizeInBytes() > MaxKeptBytes ? picture.scaled(Reduced(picture.size())) : picture;
}
