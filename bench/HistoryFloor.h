#pragma once

#include <QStandardItemModel>
#include <QString>
#include <QTableView>

/// What showing a large result is compared with: the database's own tool printing the same table, and a table view whose
/// rows are ready.
namespace HistoryFloor {

constexpr int Rows = 1'000'000;
constexpr int Columns = 4;
extern const QString Statement;

/// What one run through the whole table took.
struct WayToEnd
{
    double Ms;
    double CpuMs; ///< of all processes that took part
};

/// Makes the table in the database that the server of this environment is going to open.
void MakeTable();
/// The database's own tool prints the table.
WayToEnd PrintTable();

/// As much as a grid shows, ready at once, in rows as high as the grid's.
class BareTable : public QTableView
{
public:
    explicit BareTable(const QTableView& grid);

    void Reset();

private:
    QStandardItemModel m_Rows;
};

} // namespace HistoryFloor
