#include "trend/files/PictureFile.h"

#include "core/automation/Errors.h"
#include "trend/files/FileOutput.h"

#include <QBuffer>
#include <QFileInfo>
#include <QPdfWriter>
#include <QSvgGenerator>

#include <array>

namespace {

constexpr int Resolution = 96; ///< dots an inch: fonts are as large as on a screen
const QString Title = QStringLiteral("Trend");

using PictureFile::Format;

void CheckFormat(const Format& format)
{
    const QSizeF size = QSizeF(format.Size) * format.Ratio;
    const double largest = std::max(size.width(), size.height());
    if (format.Size.isEmpty() || !(format.Ratio > 0) || !(largest <= PictureFile::LargestSide))
        throw DescribedError(QStringLiteral("A picture has 1 to %1 pixels a side.").arg(PictureFile::LargestSide));
}

void Paint(QPaintDevice& device, const QSizeF& size, const PictureContent& content, const PictureColours& colours)
{
    QPainter painter(&device);
    TrendPainter().Paint(painter, size, content, colours);
}

void WritePng(QBuffer& file, const PictureContent& content, const Format& format, const PictureColours& colours)
{
    if (!PictureFile::Image(content, format, colours).save(&file, "PNG"))
        throw DescribedError(QStringLiteral("The picture cannot be written as PNG."));
}

void WriteSvg(QBuffer& file, const PictureContent& content, const Format& format, const PictureColours& colours)
{
    QSvgGenerator svg;
    svg.setOutputDevice(&file);
    svg.setResolution(Resolution);
    svg.setSize(format.Size);
    svg.setViewBox(QRect(QPoint(), format.Size));
    svg.setTitle(Title);
    Paint(svg, format.Size, content, colours);
}

void WritePdf(QBuffer& file, const PictureContent& content, const Format&, const PictureColours& colours)
{
    QPdfWriter pdf(&file);
    pdf.setResolution(Resolution);
    pdf.setPageLayout(
        {QPageSize(QPageSize::A4), QPageLayout::Landscape, QMarginsF(12, 12, 12, 12), QPageLayout::Millimeter});
    pdf.setTitle(Title);
    Paint(pdf, {static_cast<double>(pdf.width()), static_cast<double>(pdf.height())}, content, colours);
}

struct Kind
{
    QLatin1StringView Suffix;
    void (*Write)(QBuffer& file, const PictureContent& content, const Format& format, const PictureColours& colours);
};

constexpr std::array<Kind, 3> Kinds = {
    {{QLatin1StringView("png"), WritePng}, {QLatin1StringView("svg"), WriteSvg}, {QLatin1StringView("pdf"), WritePdf}}};

const Kind& KindOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    const auto* kind = std::find_if(Kinds.begin(), Kinds.end(), [&](const Kind& one) { return suffix == one.Suffix; });
    if (kind != Kinds.end()) return *kind;
    throw DescribedError(QStringLiteral("%1 cannot be written: pictures are .png, .svg or .pdf.").arg(path));
}

} // namespace

QImage PictureFile::Image(const PictureContent& content, const Format& format, const PictureColours& colours)
{
    CheckFormat(format);
    QImage image((QSizeF(format.Size) * format.Ratio).toSize(), QImage::Format_RGB32);
    if (image.isNull()) throw DescribedError(QStringLiteral("There is no memory for the picture."));
    image.setDevicePixelRatio(format.Ratio);
    image.fill(colours.Paper);
    Paint(image, format.Size, content, colours);
    return image;
}

void PictureFile::Check(const QString& path, const Format& format)
{
    KindOf(path);
    CheckFormat(format);
}

void PictureFile::Write(const QString& path, const PictureContent& content, const Format& format,
                        const PictureColours& colours)
{
    Check(path, format);
    QBuffer bytes;
    bytes.open(QIODevice::WriteOnly);
    KindOf(path).Write(bytes, content, format, colours);
    FileOutput file(path);
    file.Write(bytes.data());
    file.Finish();
}
