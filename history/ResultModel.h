#pragma once

#include "history/CellFace.h"
#include "history/ResultReader.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QTimer>

/// A result as a table: rows become known while the server reads on, and cells when they are to be shown. Rows that
/// nobody looks at are never requested; cells that have not arrived show an ellipsis.
class ResultModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// How a cell is drawn, as a CellKind.
    static constexpr int KindRole = Qt::UserRole;
    /// Why a cell cannot be read at present; null for others, also for those that have not arrived.
    static constexpr int ReasonRole = Qt::UserRole + 1;
    /// Cells that are kept in addition to those in view.
    static constexpr qsizetype MostCells = 4000;

    struct Area
    {
        int FirstRow = 0, LastRow = -1, FirstColumn = 0, LastColumn = -1;
        bool Contains(int row, int column) const;
    };

    explicit ResultModel(QObject* parent = nullptr);

    /// Shows another result from now on.
    void Bind(ResultReader reader);
    /// The model asks the server by itself only while it is being looked at. Off at first.
    void SetActive(bool active);

    /// Reads missing cells of `area` for at most `budgetMs` (at least one cell). The rest follows by itself, with
    /// dataChanged.
    void Prepare(const Area& area, int budgetMs);
    /// Reads a cell's value. Throws ServerError or ValueError.
    Variant Cell(int row, int column) { return m_Reader.Cell(row, column); }

    /// As the database gives them.
    const QStringList& ColumnNames() const { return m_Reader.Columns(); }
    /// How many rows there are and whether more will come, in words; empty for a statement without rows.
    QString Summary() const;
    /// True when no more rows come.
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
    /// Runs for a moment after a failed call; nothing is requested until it ends.
    bool m_Resting = false;
    bool m_FailureSaid = false;
    /// Of the page that was asked for last; null when it came.
    QString m_WhyUnread;
};
