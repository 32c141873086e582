#include "core/automation/SafeArray.h"
#include "item/Picture.h"
#include "item/Thumbnail.h"
#include "tests/item/ItemWindow.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>

namespace {

QList<quint8> Bytes(const QByteArray& bytes)
{
    return QList<quint8>(bytes.begin(), bytes.end());
}

QByteArray Encoded(QSize size, const char* format, QColor colour = Qt::red)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer buffer;
    QImageWriter(&buffer, format).write(image);
    return buffer.data();
}

class ItemPicture : public ItemWindow
{
protected:
    ItemPicture() { Open(); }

    /// Gets the bytes as the item's value; what is logged after its success.
    QString Get(const QByteArray& bytes)
    {
        Item().Value = Variant(SafeArray(Bytes(bytes)));
        Press("cmdGet");
        return TakeLog().mid(2).join(u'\n');
    }
    const QImage& Shown() { return Control<Thumbnail>("imgThumbnail").Picture(); }
    QByteArray FileContent() const
    {
        QFile file(m_Path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const QString m_Path = m_Folder.filePath(u"Temp.bmp"_s);
};

} // namespace

TEST_F(ItemPicture, IsWrittenUnchangedAndTheNewestIsShown)
{
    for (const char* format : {"bmp", "png", "jpeg", "ppm"}) {
        const QByteArray bytes = Encoded({40, 30}, format);
        EXPECT_EQ(Get(bytes), QString()) << format;
        EXPECT_EQ(FileContent(), bytes);
        EXPECT_EQ(Shown().size(), QSize(40, 30));
    }
    Get(Encoded({4, 4}, "bmp", Qt::red));
    const QByteArray second = Encoded({4, 4}, "bmp", Qt::blue); // within a second, as many bytes
    Get(second);
    EXPECT_EQ(Shown().pixelColor(0, 0), QColor(Qt::blue));
    Item().Value = Variant(qint32{1});
    Press("cmdGet");
    EXPECT_TRUE(Shown().isNull());
    EXPECT_EQ(FileContent(), second) << "the file stays";
}

TEST_F(ItemPicture, WhatCannotBeShownOrWrittenIsLoggedAndLeavesNoStaleOne)
{
    const QByteArray bmp = Encoded({40, 30}, "bmp");
    const QByteArray jpeg = Encoded({400, 300}, "jpeg");
    QByteArray huge = jpeg;
    for (const qsizetype edge : {5, 7}) huge.replace(huge.indexOf("\xff\xc0") + edge, 2, "\xfd\xe8");
    const std::pair<QByteArray, QString> rows[] = {
        {{}, u"Unsupported image format"_s},
        {bmp.chopped(1), u"it ends too early"_s},
        {Encoded({400, 300}, "png").chopped(100), u"Unable to read image data"_s},
        {huge, u"it claims 65000 x 65000 points"_s}};
    for (const auto& [bytes, reason] : rows) {
        EXPECT_EQ(Get(bmp), QString());
        EXPECT_FALSE(Shown().isNull());
        EXPECT_EQ(Get(bytes), u"The value cannot be shown as a picture: "_s + reason);
        EXPECT_TRUE(Shown().isNull());
        EXPECT_EQ(FileContent(), bytes);
    }
    Get(bmp);
    QFile::remove(m_Path);
    QFile::link(u"/dev/full"_s, m_Path); // a full disk
    EXPECT_EQ(Get(bmp), u"The picture file %1 cannot be written: No space left on device"_s.arg(m_Path));
    EXPECT_TRUE(Shown().isNull());
    EXPECT_EQ(Get(bmp), QString()) << "nothing half-written is in the way";
}

TEST(Picture, IsKeptNoLargerThanAThumbnailCanUse)
{
    for (const char* format : {"png", "jpeg", "bmp"})
        EXPECT_EQ(ReadPicture(Bytes(Encoded({4200, 1050}, format))).size(), QSize(2048, 512));
}
