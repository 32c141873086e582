#pragma once

#include "trend/core/Readings.h"

#include <QAbstractTableModel>

/// What has been measured, as a table; the first column names the pens.
class ReadingsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    /// `pens` are those that the rows count.
    void Show(Readings readings, std::span<const Pen* const> pens);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    Readings m_Readings;
    std::vector<PenSettings> m_Pens; ///< of the rows
};
