#include "trend/app/ReportOptions.h"

#include "trend/files/CsvFile.h"

#include <QRegularExpression>

namespace {

const QString Png = QStringLiteral("png");
const QString Csv = QStringLiteral("csv");
const QString Intervals = QStringLiteral("intervals");
const QString Size = QStringLiteral("size");
const QString Scale = QStringLiteral("scale");
const QString IsDark = QStringLiteral("dark");

QSize ReadSize(const QString& text)
{
    static const QRegularExpression Form(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$"));
    const auto match = Form.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (size.isEmpty()) throw UsageError(QStringLiteral("--size takes a size such as 1600x600, not \"%1\".").arg(text));
    return size;
}

double ReadScale(const QString& text)
{
    bool isNumber = false;
    const double scale = text.toDouble(&isNumber);
    if (!isNumber || !(scale >= 0.5 && scale <= 8))
        throw UsageError(QStringLiteral("--scale takes a number from 0.5 to 8, not \"%1\".").arg(text));
    return scale;
}

int ReadIntervals(const QString& text)
{
    bool isNumber = false;
    const int count = text.toInt(&isNumber);
    if (!isNumber || count < 1 || count > CsvFile::MostIntervals)
        throw UsageError(QStringLiteral("--intervals takes a number from 1 to %1, not \"%2\".")
                             .arg(CsvFile::MostIntervals)
                             .arg(text));
    return count;
}

/// An option that says how something is written goes with the option that writes it.
void CheckOwner(const CommandLine& line, const QStringList& options, const QString& owner)
{
    for (const QString& option : options)
        if (line.isSet(option) && !line.isSet(owner))
            throw UsageError(QStringLiteral("--%1 goes with --%2.").arg(option, owner));
}

} // namespace

void AddReportOptions(CommandLine& line)
{
    const QString file = QStringLiteral("file");
    line.addOptions(
        {{Png, QStringLiteral("Write the picture to <file>, whose name ends in .png, .svg or .pdf; open no window."),
          file},
         {Csv, QStringLiteral("Write the values in view to <file> as CSV; open no window."), file},
         {Intervals, QStringLiteral("CSV of smallest, mean and largest of <count> intervals, in place of every value."),
          QStringLiteral("count")},
         {Size, QStringLiteral("The picture's size. Default: 1600x600."), QStringLiteral("width>x<height")},
         {Scale, QStringLiteral("Pixels of a PNG for each of --size. Default: 1."), QStringLiteral("factor")},
         {IsDark, QStringLiteral("A dark picture.")}});
}

std::optional<ReportOrder> ReadReportOptions(const CommandLine& line)
{
    CheckOwner(line, {Size, Scale, IsDark}, Png);
    CheckOwner(line, {Intervals}, Csv);
    if (!line.isSet(Png) && !line.isSet(Csv)) return std::nullopt;
    ReportOrder order;
    order.Picture = line.value(Png);
    order.Table = line.value(Csv);
    order.IsDark = line.isSet(IsDark);
    if (line.isSet(Intervals)) order.Intervals = ReadIntervals(line.value(Intervals));
    if (line.isSet(Size)) order.Format.Size = ReadSize(line.value(Size));
    if (line.isSet(Scale)) order.Format.Ratio = ReadScale(line.value(Scale));
    if (!line.isSet(Png)) return order;
    try {
        PictureFile::Check(order.Picture, order.Format);
    } catch (const DescribedError& error) {
        throw UsageError(error.Description());
    }
    return order;
}
