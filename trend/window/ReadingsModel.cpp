#include "trend/window/ReadingsModel.h"

#include "core/DisplayText.h"
#include "trend/picture/PictureColours.h"

#include <QApplication>

void ReadingsModel::Show(Readings readings, std::span<const Pen* const> pens)
{
    std::vector<PenSettings> settings;
    for (const Readings::Row& row : readings.Rows) settings.push_back(pens[row.Pen]->Settings);
    const bool isShaped = readings.Columns == m_Readings.Columns && readings.Rows.size() == m_Readings.Rows.size();
    if (!isShaped) beginResetModel();
    m_Readings = std::move(readings);
    m_Pens = std::move(settings);
    if (!isShaped) endResetModel();
    else if (rowCount() > 0) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

int ReadingsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_Readings.Rows.size());
}

int ReadingsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_Readings.Columns.size()) + 1;
}

QVariant ReadingsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    const auto row = static_cast<std::size_t>(index.row());
    const bool isPen = index.column() == 0;
    if (role == Qt::DisplayRole)
        return OneLine(isPen ? m_Pens[row].Name() : m_Readings.Rows[row].Cells.value(index.column() - 1));
    if (role == Qt::TextAlignmentRole && !isPen) return QVariant(Qt::AlignVCenter | Qt::AlignRight);
    if (role != Qt::DecorationRole || !isPen) return {};
    const QPalette palette = QApplication::palette();
    return PictureColours(palette.color(QPalette::Base), palette.color(QPalette::Text)).OfPen(m_Pens[row].Colour);
}

QVariant ReadingsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return section == 0 ? QStringLiteral("Item") : m_Readings.Columns.value(section - 1);
}
