#pragma once

#include "trend/core/Statistics.h"
#include "trend/data/TrendData.h"

#include <QAbstractTableModel>

/// The list of pens: what is known of each item now, and the figures of what is in view, which are computed when they
/// are looked at.
class PenModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Item,
        Value,
        Unit,
        State,
        Time,
        Smallest,
        Largest,
        Mean,
        Axis,
        Drawn,
        Columns
    };

    explicit PenModel(TrendData& data, QObject* parent = nullptr);

    /// Values have changed, or this is in view now.
    void Refresh(const Span& shown);
    PenSettings& Settings(int row) { return m_Data.Pens().at(static_cast<std::size_t>(row))->Settings; }
    /// After settings have been changed.
    void NoteSettings();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction | Qt::CopyAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    void SettingsChanged();
    void ItemsDropped(const QStringList& items);
    /// A pen was dragged to this row.
    void PenMoved(int row);

private:
    QString Text(const Pen& pen, int row, Column column) const;
    const std::optional<Statistics>& Figures(int row) const;

    TrendData& m_Data;
    Span m_Shown;
    mutable QHash<int, std::optional<Statistics>> m_Figures; ///< key: the row
};

/// The lines of a dropped or pasted text that are names of items.
QStringList ItemsIn(const QString& text);
