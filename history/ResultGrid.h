#pragma once

#include "history/ResultModel.h"
#include "history/SelectionCopy.h"

#include <QTableView>

#include <memory>

/// The grid of a result. It reads what it shows, sizes columns to the contents that are seen first, copies selections
/// in several formats, and can follow the end of a result that is still being read.
class ResultGrid : public QTableView
{
    Q_OBJECT

public:
    explicit ResultGrid(QWidget* parent = nullptr);
    ~ResultGrid() override;

    /// Shows another result from now on, with its own column layout.
    void Show(ResultReader reader);
    /// See ResultModel::Summary; follows ResultModel::Progressed.
    ResultModel& Model() { return *m_Model; }

    /// Puts the selection on the clipboard. A large one takes a moment, during which Escape or another result ends it.
    void Copy(SelectionCopy::Format format);
    /// Scrolls to the last row so far, and to each new last row until the operator moves elsewhere.
    void GoToEnd();

    /// Does nothing: searching for a typed text would read the whole result.
    void keyboardSearch(const QString& search) override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    void SetUpHeaders();
    void SetUpScrolling();
    void PlaceRows();
    ResultModel::Area VisibleArea() const;
    void LayOutColumns();
    void SizeSeenColumns();
    QList<int> UnsizedColumns(const ResultModel::Area& area) const;
    int WidthOf(const QString& text) const;
    int WidthOf(int column, const ResultModel::Area& seen) const;
    void Progressed();
    bool CopiesOnKey(const QKeyEvent& event);
    bool ShowToolTip(const QHelpEvent& event);

    ResultModel* m_Model;
    std::unique_ptr<SelectionCopy> m_Copy; ///< while it runs, and afterwards until the next
    /// The columns that were sized to their contents; the operator's own widths stay.
    QList<bool> m_Sized;
    bool m_FollowsEnd = false;
};
