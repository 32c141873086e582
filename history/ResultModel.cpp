#include "history/ResultModel.h"

#include "core/automation/Errors.h"
#include "core/DisplayText.h"
#include "core/modMain.h"
#include "resulttext/RowCount.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

constexpr int LoadMs = 10;
/// The first rows arrive within milliseconds; a long result is counted a few times a second.
constexpr int FirstAdvanceMs = 1;
constexpr int LastAdvanceMs = 200;
constexpr int RestMs = 1000;
const QString Pending = QStringLiteral("\u2026");

} // namespace

bool ResultModel::Area::Contains(int row, int column) const
{
    return row >= FirstRow && row <= LastRow && column >= FirstColumn && column <= LastColumn;
}

ResultModel::ResultModel(QObject* parent)
    : QAbstractTableModel(parent)
{
    for (QTimer* timer : {&m_LoadTimer, &m_AdvanceTimer}) timer->setSingleShot(true);
    connect(&m_LoadTimer, &QTimer::timeout, this, &ResultModel::LoadMore);
    connect(&m_AdvanceTimer, &QTimer::timeout, this, &ResultModel::Advance);
}

void ResultModel::Bind(ResultReader reader)
{
    beginResetModel();
    m_Reader = std::move(reader);
    m_RowCount = m_Reader.RowCount();
    m_Cells.clear();
    m_Area = {};
    m_LoadTimer.stop();
    m_Resting = m_FailureSaid = false;
    m_WhyUnread = QString();
    endResetModel();
    if (const QString failure = m_Reader.Progress().Failure; !failure.isEmpty()) NoteFailure(failure);
    AdvanceLater(FirstAdvanceMs);
    Q_EMIT Progressed();
}

void ResultModel::SetActive(bool active)
{
    m_Active = active;
    m_LoadTimer.stop();
    m_Resting = false;
    AdvanceLater(FirstAdvanceMs);
}

void ResultModel::AdvanceLater(int ms)
{
    m_AdvanceMs = ms;
    if (m_Active && !IsComplete()) m_AdvanceTimer.start(ms);
    else m_AdvanceTimer.stop();
}

void ResultModel::Advance()
{
    QElapsedTimer lasted;
    lasted.start();
    try {
        m_Reader.Advance();
    } catch (...) {
        NoteFailure(CurrentErrorDescription());
        return AdvanceLater(RestMs);
    }
    AddRows();
    if (const QString failure = m_Reader.Progress().Failure; !failure.isEmpty()) NoteFailure(failure);
    // So that a server that answers slowly is not kept busy by this.
    AdvanceLater(std::max(std::min(2 * m_AdvanceMs, LastAdvanceMs), static_cast<int>(lasted.elapsed())));
    Q_EMIT Progressed();
}

void ResultModel::AddRows()
{
    const int rows = m_Reader.RowCount();
    if (rows <= m_RowCount || m_Reader.Columns().isEmpty()) return;
    beginInsertRows({}, m_RowCount, rows - 1);
    m_RowCount = rows;
    endInsertRows();
}

void ResultModel::Prepare(const Area& area, int budgetMs)
{
    m_Area = {std::max(area.FirstRow, 0), std::min(area.LastRow, rowCount() - 1), std::max(area.FirstColumn, 0),
              std::min(area.LastColumn, columnCount() - 1)};
    ForgetCells();
    if (!m_Resting) Load(budgetMs);
}

void ResultModel::Load(int budgetMs)
{
    QElapsedTimer time;
    time.start();
    bool isFirst = true;
    for (int row = m_Area.FirstRow; row <= m_Area.LastRow; ++row) {
        for (int column = m_Area.FirstColumn; column <= m_Area.LastColumn; ++column) {
            if (m_Cells.contains(KeyOf(row, column))) continue;
            if (!isFirst && time.hasExpired(budgetMs)) return m_LoadTimer.start(0);
            if (!LoadCell(row, column)) return;
            isFirst = false;
        }
    }
}

/// False when the page is not available. A single damaged cell shows that in its own place.
bool ResultModel::LoadCell(int row, int column)
{
    try {
        m_Reader.PageOf(row);
    } catch (...) {
        m_WhyUnread = CurrentErrorDescription();
        NoteFailure(m_WhyUnread);
        m_Resting = true;
        m_LoadTimer.start(RestMs);
        return false;
    }
    m_WhyUnread = QString();
    CellFace face;
    try {
        face = FaceOf(m_Reader.Cell(row, column));
    } catch (...) {
        face = {OneLine(CurrentErrorDescription()), CellKind::Remark};
    }
    m_Cells.insert(KeyOf(row, column), face);
    return true;
}

void ResultModel::LoadMore()
{
    m_Resting = false;
    if (!m_Active || m_Area.LastRow < m_Area.FirstRow || m_Area.LastColumn < m_Area.FirstColumn) return;
    const auto before = std::pair(m_Cells.size(), m_WhyUnread);
    Load(LoadMs);
    if (before == std::pair(m_Cells.size(), m_WhyUnread)) return;
    Q_EMIT dataChanged(index(m_Area.FirstRow, m_Area.FirstColumn), index(m_Area.LastRow, m_Area.LastColumn));
}

void ResultModel::ForgetCells()
{
    if (m_Cells.size() <= MostCells) return;
    m_Cells.removeIf([this](const std::pair<const qint64&, CellFace&>& cell) {
        const auto columns = m_Reader.Columns().size();
        return !m_Area.Contains(static_cast<int>(cell.first / columns), static_cast<int>(cell.first % columns));
    });
}

/// Once for each result, because a page that cannot be read is requested again with every repaint.
void ResultModel::NoteFailure(const QString& description)
{
    if (std::exchange(m_FailureSaid, true)) return;
    // Painting may have caused this call, so the log is written later.
    QMetaObject::invokeMethod(
        this, [description] { modMain::LogError(description); }, Qt::QueuedConnection);
}

QString ResultModel::Summary() const
{
    const ResultProgress& progress = m_Reader.Progress();
    if (m_Reader.Columns().isEmpty())
        return progress.Affected < 0 ? QString() : CountOfRows(progress.Affected) + QStringLiteral(" affected");
    QString text = CountOfRows(progress.RowsSoFar);
    if (!progress.Complete) text += QStringLiteral(" so far");
    if (!progress.Failure.isEmpty()) text += QStringLiteral(", the rest could not be read");
    if (progress.RowsSoFar > m_RowCount) text += QStringLiteral(", the first %1 are shown").arg(m_RowCount);
    return text;
}

int ResultModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_RowCount;
}

int ResultModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_Reader.Columns().size());
}

QVariant ResultModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || (role != Qt::DisplayRole && role != KindRole && role != ReasonRole)) return QVariant();
    const auto cell = m_Cells.constFind(KeyOf(index.row(), index.column()));
    const bool isPending = cell == m_Cells.cend();
    if (role == ReasonRole) return isPending ? m_WhyUnread : QString();
    if (role == KindRole) return static_cast<int>(isPending ? CellKind::Remark : cell->Kind);
    return isPending ? Pending : cell->Text;
}

QVariant ResultModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || section < 0) return QVariant();
    if (orientation == Qt::Vertical) return section + 1;
    return section < columnCount() ? OneLine(m_Reader.Columns().at(section)) : QVariant();
}
