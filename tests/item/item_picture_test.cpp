#include "core/automation/SafeArray.h"
#include "item/Picture.h"
#include "item/Thumbnail.h"
#include "tests/item/ItemWindow.h"

#include <QBuffer>
#include <QDir>
#include <QImageWriter>

namespace {

QList<quint8> Bytes(const QByteArray& bytes)
{
    return QList<quint8>(bytes.begin(), bytes.end());
}

QByteArray Encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QImage Filled(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// A bitmap of 24 bits a point whose head says another size.
QByteArray Claiming(qint32 width, qint32 height)
{
    QByteArray bytes = Encoded(Filled({16, 16}, Qt::red), "bmp");
    std::memcpy(bytes.data() + 18, &width, sizeof width);
    std::memcpy(bytes.data() + 22, &height, sizeof height);
    return bytes;
}

QByteArray ClaimingMost(QByteArray jpeg)
{
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    for (const qsizetype edge : {5, 7}) jpeg.replace(frame + edge, 2, "\xfd\xe8");
    return jpeg;
}

class ItemPicture : public ItemWindow
{
protected:
    ItemPicture() { Open(); }

    void Get(const QByteArray& bytes)
    {
        Item().Value = Variant(SafeArray(Bytes(bytes)));
        Press("cmdGet");
    }
    const QImage& Shown() { return Control<Thumbnail>("imgThumbnail").Picture(); }
    QByteArray File() const
    {
        QFile file(m_Folder + u"/Temp.bmp"_s);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const QStringList m_Succeeded = {u"Calling Item:get_Value..."_s, u"Succeeded."_s};
};

} // namespace

TEST_F(ItemPicture, IsWrittenUnchangedAndShown)
{
    for (const char* format : {"bmp", "png", "jpeg", "ppm"}) {
        SCOPED_TRACE(format);
        const QByteArray bytes = Encoded(Filled({40, 30}, Qt::green), format);
        Get(bytes);
        EXPECT_EQ(File(), bytes);
        EXPECT_EQ(Shown().size(), QSize(40, 30));
        EXPECT_EQ(TakeLog(), m_Succeeded);
    }
}

TEST_F(ItemPicture, ShowsTheNewestValue)
{
    Get(Encoded(Filled({4, 4}, Qt::red), "bmp"));
    const QByteArray second = Encoded(Filled({4, 4}, Qt::blue), "bmp"); // within a second, as many bytes
    Get(second);
    EXPECT_EQ(Shown().pixelColor(0, 0), QColor(Qt::blue));
    Item().Value = Variant(qint32{1});
    Press("cmdGet");
    EXPECT_TRUE(Shown().isNull());
    EXPECT_EQ(File(), second) << "the file stays";
}

TEST_F(ItemPicture, BytesThatAreNoWholePictureAreLoggedAndLeaveNoStaleOne)
{
    const QByteArray bmp = Encoded(Filled({40, 30}, Qt::red), "bmp");
    const QByteArray mono = Encoded(Filled({40, 30}, Qt::red).convertToFormat(QImage::Format_Mono), "bmp");
    const QByteArray jpeg = Encoded(Filled({400, 300}, Qt::red), "jpeg");
    const QByteArray png = Encoded(Filled({400, 300}, Qt::red), "png");
    const QString tooEarly = u"it ends too early"_s;
    const QString unread = u"Unable to read image data"_s;
    const QString unknown = u"Unsupported image format"_s;
    const struct
    {
        QByteArray Bytes;
        QString Reason;
    } rows[] = {{{}, unknown},
                {"1,2,3", unknown},
                {bmp.chopped(1), tooEarly},
                {bmp.left(bmp.size() / 2), tooEarly},
                {mono.chopped(1), tooEarly},
                {bmp.left(40), unread},
                {jpeg.chopped(2), tooEarly},
                {jpeg.left(jpeg.size() / 2), tooEarly},
                {png.left(png.size() / 2), unread},
                {Claiming(2147483647, 2147483647), unread},
                {Claiming(30000, 30000), unread},
                {ClaimingMost(jpeg), u"it claims 65000 x 65000 points"_s},
                {Claiming(0, 10), unread}};
    for (const auto& row : rows) {
        Get(bmp);
        EXPECT_FALSE(Shown().isNull());
        TakeLog();
        Get(row.Bytes);
        EXPECT_EQ(TakeLog(), m_Succeeded + QStringList({u"The value cannot be shown as a picture: "_s + row.Reason}));
        EXPECT_TRUE(Shown().isNull());
        EXPECT_EQ(File(), row.Bytes);
    }
}

TEST_F(ItemPicture, AFileThatCannotBeWrittenIsLoggedAndLeavesNoStalePicture)
{
    const QByteArray bmp = Encoded(Filled({4, 4}, Qt::red), "bmp");
    const auto expectUnwritten = [&](const QString& reason) {
        const QString failure = u"The picture file %1/Temp.bmp cannot be written: "_s.arg(m_Folder) + reason;
        Get(bmp);
        EXPECT_EQ(TakeLog(), m_Succeeded + QStringList{failure});
        EXPECT_TRUE(Shown().isNull());
    };
    Get(bmp);
    TakeLog();
    m_Folder += u"/missing"_s;
    expectUnwritten(u"No such file or directory"_s);
    QDir().mkpath(m_Folder);
    QFile::link(u"/dev/full"_s, m_Folder + u"/Temp.bmp"_s); // a full disk
    expectUnwritten(u"No space left on device"_s);
    Get(bmp);
    EXPECT_EQ(TakeLog(), m_Succeeded);
    EXPECT_FALSE(Shown().isNull());
}

TEST(Thumbnail, FillsItsBoxWithThePicturesProportions)
{
    const auto isGreen = [](const QImage& screen, int x, int y) {
        return screen.pixelColor(x, y) == QColor(Qt::green);
    };
    Thumbnail box;
    for (const QSize boxSize : {QSize(300, 120), QSize(150, 100), QSize(80, 200)}) {
        for (const QSize size : {QSize(3000, 1000), QSize(30, 10), QSize(10, 30), QSize(2000, 1)}) {
            box.resize(boxSize);
            box.SetPicture(Filled(size, Qt::green));
            const QImage screen = box.grab().toImage();
            QRect green;
            for (int y = 0; y < screen.height(); ++y) {
                for (int x = 0; x < screen.width(); ++x) green |= isGreen(screen, x, y) ? QRect(x, y, 1, 1) : QRect();
            }
            EXPECT_EQ(green.size(), size.scaled(boxSize, Qt::KeepAspectRatio).expandedTo({1, 1}));
            EXPECT_NEAR(green.center().x(), box.rect().center().x(), 1);
            EXPECT_NEAR(green.center().y(), box.rect().center().y(), 1);
        }
    }
}

TEST(Picture, IsKeptNoLargerThanAThumbnailCanUse)
{
    for (const char* format : {"png", "jpeg", "bmp"})
        EXPECT_EQ(ReadPicture(Bytes(Encoded(Filled({4200, 1050}, Qt::red), format))).size(), QSize(2048, 512));
}
