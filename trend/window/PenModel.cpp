#include "trend/window/PenModel.h"

#include "core/Colours.h"
#include "core/DisplayText.h"
#include "trend/picture/PictureColours.h"

#include <QApplication>
#include <QDateTime>
#include <QFont>
#include <QMimeData>
#include <QPixmap>

namespace {

const QString RowType = QStringLiteral("application/x-velsql-pen");

struct Heading
{
    QStringView Caption;
    QStringView Tip;
};

constexpr std::array<Heading, PenModel::Columns> Headings = {{
    {u"Item", u"The item; a mark in front of it: whether the picture shows it"},
    {u"Value", u"The value now"},
    {u"Unit", u"The unit, as the item's tag has it"},
    {u"State", u"Whether the value is good"},
    {u"Time", u"When the value was read"},
    {u"Smallest", u"The smallest value in view"},
    {u"Largest", u"The largest value in view"},
    {u"Mean", u"The mean in view, each value weighted with its time"},
    {u"Axis", u"Whether the pen has an axis of its own; double-click to change it"},
    {u"Drawn", u"As steps from value to value, or as straight lines; double-click to change it"},
}};

QString StateText(const Pen& pen)
{
    if (!pen.Note.isEmpty()) return OneLine(pen.Note);
    if (pen.IsOld) return QStringLiteral("Old");
    if (pen.Time == 0) return QStringLiteral("...");
    switch (pen.State) {
    case PenState::Good: return QStringLiteral("Good");
    case PenState::Failed: return QStringLiteral("Failed");
    case PenState::Undefined: return QStringLiteral("Undefined");
    }
    return {};
}

/// Without the day if that is today.
QString TimeText(Micros time)
{
    if (time == 0) return {};
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(time / 1000);
    const bool isToday = local.date() == QDate::currentDate();
    return local.toString(isToday ? QStringLiteral("hh:mm:ss.zzz") : QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

bool IsPale(const Pen& pen)
{
    return pen.IsOld || !pen.Note.isEmpty() || pen.Time == 0;
}

/// Nothing for the colour of all texts.
QVariant Ink(const Pen& pen, PenModel::Column column)
{
    const QPalette palette = QApplication::palette();
    const bool isBad = !pen.Note.isEmpty() || (pen.State != PenState::Good && pen.Time != 0);
    if (column == PenModel::State && isBad) return Colours::Error(palette);
    constexpr double Pale = 0.65;
    const bool isPale = column != PenModel::Item && IsPale(pen);
    return isPale ? Colours::OnBase(palette, palette.color(QPalette::Text), Pale) : QVariant();
}

QString FigureText(const std::optional<Statistics>& figures, double value)
{
    return figures ? QString::number(value, 'g', 6) : QString();
}

} // namespace

PenModel::PenModel(TrendData& data, QObject* parent)
    : QAbstractTableModel(parent)
    , m_Data(data)
{
    connect(&data, &TrendData::PensChanged, this, [this] {
        beginResetModel();
        m_Figures.clear();
        endResetModel();
    });
}

void PenModel::Refresh(const Span& shown)
{
    m_Shown = shown;
    m_Figures.clear();
    if (rowCount() > 0) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, Columns - 1));
}

void PenModel::NoteSettings()
{
    Refresh(m_Shown);
    Q_EMIT SettingsChanged();
}

int PenModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_Data.Pens().size());
}

int PenModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : Columns;
}

QVariant PenModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Pen& pen = *m_Data.Pens().at(static_cast<std::size_t>(index.row()));
    const auto column = static_cast<Column>(index.column());
    const bool isFigure = column == Value || (column >= Smallest && column <= Mean);
    switch (role) {
    case Qt::DisplayRole: return Text(pen, index.row(), column);
    case Qt::ToolTipRole:
        if (column == State) return ToolTipHtml(pen.Note);
        return column == Item || column == Value ? ToolTipHtml(Text(pen, index.row(), column)) : QVariant();
    case Qt::TextAlignmentRole: return QVariant(Qt::AlignVCenter | (isFigure ? Qt::AlignRight : Qt::AlignLeft));
    case Qt::CheckStateRole:
        if (column == Item) return pen.Settings.IsVisible ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::DecorationRole: {
        if (column != Item) return {};
        const QPalette palette = QApplication::palette();
        const PictureColours colours(palette.color(QPalette::Base), palette.color(QPalette::Text));
        return colours.OfPen(pen.Settings.Colour);
    }
    case Qt::ForegroundRole: return Ink(pen, column);
    case Qt::FontRole: {
        QFont font;
        font.setItalic(IsPale(pen) && column != Item);
        return font;
    }
    case Qt::AccessibleDescriptionRole: return Headings[column].Tip.toString();
    default: return {};
    }
}

QString PenModel::Text(const Pen& pen, int row, Column column) const
{
    switch (column) {
    case Item: return OneLine(pen.Settings.Name());
    case Value: return OneLine(pen.Present);
    case Unit: return pen.Settings.Unit;
    case State: return StateText(pen);
    case Time: return TimeText(pen.Time);
    case Smallest: return FigureText(Figures(row), Figures(row) ? Figures(row)->Values.Smallest : 0);
    case Largest: return FigureText(Figures(row), Figures(row) ? Figures(row)->Values.Largest : 0);
    case Mean: return FigureText(Figures(row), Figures(row) ? Figures(row)->Mean : 0);
    case Axis: return pen.Settings.HasOwnAxis ? QStringLiteral("Own") : QStringLiteral("Common");
    case Drawn: return pen.Settings.Drawn == Drawing::Step ? QStringLiteral("Steps") : QStringLiteral("Line");
    case Columns: break;
    }
    return {};
}

const std::optional<Statistics>& PenModel::Figures(int row) const
{
    auto found = m_Figures.find(row);
    if (found == m_Figures.end()) {
        const Pen& pen = *m_Data.Pens().at(static_cast<std::size_t>(row));
        const bool hasFigures = pen.Kind != PenKind::Texts;
        found =
            m_Figures.insert(row, hasFigures ? StatisticsOf(pen.Values, m_Shown, pen.Settings.Drawn) : std::nullopt);
    }
    return *found;
}

QVariant PenModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= Columns) return {};
    const Heading& heading = Headings[static_cast<std::size_t>(section)];
    if (role == Qt::DisplayRole) return heading.Caption.toString();
    return role == Qt::ToolTipRole ? QVariant(heading.Tip.toString()) : QVariant();
}

bool PenModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || index.column() != Item) return false;
    Settings(index.row()).IsVisible = value.toInt() == Qt::Checked;
    NoteSettings();
    return true;
}

Qt::ItemFlags PenModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled;
    return index.column() == Item ? flags | Qt::ItemIsUserCheckable : flags;
}

QStringList PenModel::mimeTypes() const
{
    return {RowType, QStringLiteral("text/plain")};
}

QMimeData* PenModel::mimeData(const QModelIndexList& indexes) const
{
    auto* data = new QMimeData;
    if (indexes.isEmpty()) return data;
    const int row = indexes.first().row();
    data->setData(RowType, QByteArray::number(row));
    data->setText(m_Data.Pens().at(static_cast<std::size_t>(row))->Settings.Name());
    return data;
}

/// Always answers false: the view would remove the row where it came from.
bool PenModel::dropMimeData(const QMimeData* data, Qt::DropAction, int row, int, const QModelIndex& parent)
{
    if (!data->hasFormat(RowType)) {
        if (data->hasText()) Q_EMIT ItemsDropped(ItemsIn(data->text()));
        return false;
    }
    const int from = data->data(RowType).toInt();
    int to = parent.isValid() ? parent.row() : row;
    if (to < 0) to = rowCount();
    if (from < 0 || from >= rowCount()) return false;
    if (!parent.isValid() && to > from) --to; // between two rows
    to = std::min(to, rowCount() - 1);
    m_Data.Move(static_cast<std::size_t>(from), static_cast<std::size_t>(to));
    Q_EMIT PenMoved(to);
    return false;
}

QStringList ItemsIn(const QString& text)
{
    QStringList items;
    for (const QString& line : text.split(u'\n')) {
        const QString item = line.endsWith(u'\r') ? line.chopped(1) : line;
        if (PenOf(item)) items.append(item);
    }
    return items;
}
