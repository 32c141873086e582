#include "trend/files/ViewFile.h"

#include "core/automation/Errors.h"
#include "trend/files/FileOutput.h"
#include "trend/files/JsonFields.h"
#include "trend/files/UtcText.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStringBuilder>

namespace {

constexpr int Version = 1;
const QString VersionKey = QStringLiteral("velsqltrend");

QJsonArray RangeJson(const ValueRange& range)
{
    return {range.Bottom, range.Top};
}

QJsonObject PenJson(const PenSettings& pen)
{
    QJsonObject json{
        {QStringLiteral("controller"), pen.Controller},
        {QStringLiteral("item"), pen.Item},
        {QStringLiteral("colour"), QString(u'#' % QString::number(pen.Colour, 16).rightJustified(6, u'0').toUpper())},
        {QStringLiteral("visible"), pen.IsVisible},
        {QStringLiteral("drawing"), pen.Drawn == Drawing::Line ? QStringLiteral("line") : QStringLiteral("step")},
        {QStringLiteral("axis"), pen.HasOwnAxis ? QStringLiteral("own") : QStringLiteral("common")}};
    if (!pen.Unit.isEmpty()) json[QStringLiteral("unit")] = pen.Unit;
    if (pen.Range) json[QStringLiteral("range")] = RangeJson(*pen.Range);
    QJsonArray limits;
    for (const double limit : pen.Limits) limits.append(limit);
    if (!limits.isEmpty()) json[QStringLiteral("limits")] = limits;
    return json;
}

PenSettings ReadPen(const QJsonValue& json, const QString& where)
{
    JsonFields fields(json, where);
    PenSettings pen;
    pen.Controller = fields.NeededText(QStringLiteral("controller"));
    pen.Item = fields.NeededText(QStringLiteral("item"));
    pen.Unit = fields.Text(QStringLiteral("unit"), {});
    pen.Colour = fields.Colour(QStringLiteral("colour"), pen.Colour);
    pen.IsVisible = fields.Flag(QStringLiteral("visible"), true);
    const bool isLine = fields.IsSecond(QStringLiteral("drawing"), QStringLiteral("step"), QStringLiteral("line"));
    pen.Drawn = isLine ? Drawing::Line : Drawing::Step;
    pen.HasOwnAxis = fields.IsSecond(QStringLiteral("axis"), QStringLiteral("common"), QStringLiteral("own"));
    pen.Range = fields.Range(QStringLiteral("range"));
    pen.Limits = fields.Numbers(QStringLiteral("limits"), ViewFile::MostLimits);
    fields.RefuseUnknown();
    return pen;
}

void ReadVersion(JsonFields& fields)
{
    const QJsonValue version = fields.Value(VersionKey);
    if (!version.isDouble()) fields.Refuse(VersionKey, QStringLiteral("is missing, so this is no view"));
    if (version.toDouble() > Version)
        fields.Refuse(
            VersionKey,
            QStringLiteral("is %1: a newer version of this program has written the view").arg(version.toDouble()));
    if (version.toInt() != Version) fields.Refuse(VersionKey, QStringLiteral("must be %1").arg(Version));
}

View ReadView(JsonFields& fields)
{
    View view;
    view.Shown = {fields.NeededMoment(QStringLiteral("from")), fields.NeededMoment(QStringLiteral("to"))};
    if (view.Shown.To <= view.Shown.From)
        fields.Refuse(QStringLiteral("to"), QStringLiteral("must lie behind \"from\""));
    view.Shown = view.Shown.Bounded();
    view.IsFollowing = fields.Flag(QStringLiteral("follow"), false);
    view.CommonRange = fields.Range(QStringLiteral("commonRange"));
    const auto cursors = fields.Moments(QStringLiteral("cursors"), 2);
    std::copy(cursors.begin(), cursors.end(), view.Cursors.begin());
    const auto marked = fields.Moments(QStringLiteral("marked"), 2);
    if (marked.empty()) return view;
    if (marked.size() < 2 || !marked[0] || !marked[1] || *marked[0] >= *marked[1])
        fields.Refuse(QStringLiteral("marked"), QStringLiteral("must be two times, the earlier one first"));
    view.Marked = Span{*marked[0], *marked[1]};
    return view;
}

QByteArray ReadBytes(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) throw DescribedError(file.errorString());
    // One byte more than allowed: devices and pipes do not know their size.
    const QByteArray bytes = file.read(ViewFile::MostBytes + 1);
    if (bytes.size() > ViewFile::MostBytes)
        throw DescribedError(QStringLiteral("A view has at most 1 MB, this file has more."));
    if (file.error() != QFileDevice::NoError) throw DescribedError(file.errorString());
    return bytes;
}

} // namespace

SavedView ViewFile::FromJson(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        throw DescribedError(
            QStringLiteral("Line %1: %2.").arg(json.first(error.offset).count('\n') + 1).arg(error.errorString()));
    if (!document.isObject()) throw DescribedError(QStringLiteral("A view is a JSON object."));
    JsonFields fields(document.object(), {});
    ReadVersion(fields);
    SavedView view{ReadView(fields), {}};
    const QJsonValue pens = fields.Value(QStringLiteral("pens"));
    if (!pens.isArray()) fields.Refuse(QStringLiteral("pens"), QStringLiteral("must be a list"));
    if (pens.toArray().size() > MostPens)
        fields.Refuse(QStringLiteral("pens"), QStringLiteral("has more than %1 entries").arg(MostPens));
    for (const QJsonValue& pen : pens.toArray())
        view.Pens.push_back(ReadPen(pen, QStringLiteral("Pen %1").arg(view.Pens.size() + 1)));
    fields.RefuseUnknown();
    return view;
}

SavedView ViewFile::Read(const QString& path)
{
    try {
        return FromJson(ReadBytes(path));
    } catch (const DescribedError& error) {
        throw DescribedError(QStringLiteral("%1 cannot be opened: %2").arg(path, error.Description()));
    }
}

QByteArray ViewFile::ToJson(const SavedView& view)
{
    QJsonObject json{{VersionKey, Version},
                     {QStringLiteral("from"), MomentToUtc(view.Of.Shown.From)},
                     {QStringLiteral("to"), MomentToUtc(view.Of.Shown.To)},
                     {QStringLiteral("follow"), view.Of.IsFollowing}};
    if (view.Of.CommonRange) json[QStringLiteral("commonRange")] = RangeJson(*view.Of.CommonRange);
    QJsonArray cursors;
    for (const auto& cursor : view.Of.Cursors) cursors.append(cursor ? QJsonValue(MomentToUtc(*cursor)) : QJsonValue());
    json[QStringLiteral("cursors")] = cursors;
    if (const auto& marked = view.Of.Marked)
        json[QStringLiteral("marked")] = QJsonArray{MomentToUtc(marked->From), MomentToUtc(marked->To)};
    QJsonArray pens;
    for (const PenSettings& pen : view.Pens) pens.append(PenJson(pen));
    json[QStringLiteral("pens")] = pens;
    return QJsonDocument(json).toJson();
}

void ViewFile::Write(const QString& path, const SavedView& view)
{
    FileOutput file(path);
    file.Write(ToJson(view));
    file.Finish();
}
