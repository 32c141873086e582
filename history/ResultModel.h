#pragma once

#include "history/CellFace.h"
#include "history/ResultReader.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QTimer>

/// A result as a table: its rows become known while the server reads on, its cells when they are to be shown. Never
/// asks the server for what is not looked at; cells not yet at hand show an ellipsis.
class ResultModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// How a cell is drawn, as a CellKind.
    static constexpr int KindRole = Qt::UserRole;
    /// Cells kept beyond those looked at.
    static constexpr qsizetype MostCells = 4000;

    struct Area
    {
        int FirstRow = 0, LastRow = -1, FirstColumn = 0, LastColumn = -1;
        bool Contains(int row, int column) const;
    };

    explicit ResultModel(QObject* parent = nullptr);

    /// Shows another result from now on.
    void Bind(ResultReader reader);
    /// Only while it is looked at does the model ask the server by itself. Off at first.
    void SetActive(bool active);

    /// Reads the cells of `area` that are not at hand, for `budgetMs` at most (one cell at least). The rest follows by
    /// itself: dataChanged.
    void Prepare(const Area& area, int budgetMs);
    /// Reads a cell as it is. Throws ServerError or ValueError.
    Variant Cell(int row, int column) { return m_Reader.Cell(row, column); }

    /// How many rows there are and whether more are to come, in words; nothing for a statement without rows.
    QString Summary() const;
    /// No more rows come.
    bool IsComplete() const { return m_Reader.Progress().Complete; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    /// The server has read on; rows may have been added.
    void Progressed();

private:
    qint64 KeyOf(int row, int column) const { return qint64{row} * m_Reader.Columns().size() + column; }
    void Load(int budgetMs);
    bool LoadCell(int row, int column);
    void LoadMore();
    void ForgetCells();

    void Advance();
    void AddRows();
    void AdvanceLater(int ms);
    void NoteFailure(const QString& description);

    ResultReader m_Reader;
    int m_RowCount = 0;
    QHash<qint64, CellFace> m_Cells;
    Area m_Area;
    QTimer m_LoadTimer;
    QTimer m_AdvanceTimer;
    int m_AdvanceMs = 0;
    bool m_Active = false;
    /// A call failed a moment ago: nothing is asked until the timer ends.
    bool m_Resting = false;
    bool m_FailureSaid = false;
};
