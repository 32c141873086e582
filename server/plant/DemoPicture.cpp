#include "server/plant/DemoPicture.h"

namespace {

constexpr qint32 Width = 64;
constexpr qint32 Height = 48;
constexpr qint32 BytesAPixel = 3;
constexpr quint32 HeaderSize = 54;
constexpr quint32 PixelBytes = Width * Height * BytesAPixel;
static_assert(Width * BytesAPixel % 4 == 0, "rows of a BMP end at a multiple of 4 bytes");

void Append(QList<quint8>& bytes, quint32 number, int count)
{
    for (; count > 0; --count, number >>= 8) bytes.append(static_cast<quint8>(number));
}

QList<quint8> Header()
{
    QList<quint8> bytes = {'B', 'M'};
    Append(bytes, HeaderSize + PixelBytes, 4);
    Append(bytes, 0, 4);
    Append(bytes, HeaderSize, 4);
    Append(bytes, 40, 4); // size of the part from here on
    Append(bytes, Width, 4);
    Append(bytes, Height, 4);
    Append(bytes, 1, 2); // planes
    Append(bytes, 8 * BytesAPixel, 2);
    Append(bytes, 0, 4); // not compressed
    Append(bytes, PixelBytes, 4);
    Append(bytes, 2835, 4); // pixels per metre, horizontally and vertically
    Append(bytes, 2835, 4);
    Append(bytes, 0, 8);
    return bytes;
}

/// 0xRRGGBB; `y` counts upwards, like the rows of a BMP.
quint32 PixelAt(qint32 x, qint32 y)
{
    const bool inTank = x >= 16 && x < 48 && y >= 6 && y < 42;
    const bool isWall = inTank && (x < 18 || x >= 46 || y < 8);
    const bool isPipe = y >= 34 && y < 38 && x >= 48;
    if (isWall || isPipe) return 0x505860;
    if (!inTank) return 0xD8E4EC;
    const bool isFilled = y < 26 + ((x / 4) % 2);
    return isFilled ? 0x2F7FB8u + static_cast<quint32>(y) : 0xF4F8FA;
}

} // namespace

QList<quint8> DrawDemoPicture()
{
    QList<quint8> bytes = Header();
    bytes.reserve(static_cast<qsizetype>(HeaderSize + PixelBytes));
    for (qint32 y = 0; y < Height; ++y) {
        for (qint32 x = 0; x < Width; ++x) Append(bytes, PixelAt(x, y), BytesAPixel); // blue comes first
    }
    return bytes;
}
