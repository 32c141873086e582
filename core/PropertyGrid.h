#pragma once

#include <QTableWidget>

#include <functional>

/// One row of a property grid.
struct PropertyRow
{
    QString Caption;
    /// Reads the row's text from the server; may throw.
    std::function<QString()> Read;
    /// Shown when reading fails.
    QString OnFailure = {};
};

using PropertyRows = QList<PropertyRow>;

/// Two columns, captions and values, filled by a refresher. The grid keeps the texts: painting never calls the server,
/// and setting a cell to the text it already shows costs nothing.
class PropertyGrid : public QTableWidget
{
    Q_OBJECT

public:
    /// Widths and heights as designed: 15 twips were one pixel at the font for which the windows were drawn.
    struct Layout
    {
        int CaptionTwips;
        int MarginTwips;
        /// How many characters of a value the grid would like to show.
        int ValueCharacters = 30;
    };

    explicit PropertyGrid(QWidget* parent = nullptr);

    /// Fills the caption column, sets the current cell to row 0, column 1, and lets other window events (not the
    /// operator's input) run between rows; stops when the grid is deleted or laid out again meanwhile.
    void Lay(PropertyRows rows, Layout layout);
    const PropertyRows& Rows() const { return m_Rows; }

    QString CellText(int row, int column) const;
    void SetValueText(int row, const QString& text);
    /// Reads one row and shows it; a failed read shows the row's OnFailure text. Never throws, never logs. Reading may
    /// destroy the grid or lay it out again.
    void RefreshRow(int row);

    /// Does nothing: letters copy the current cell instead of searching for another one.
    void keyboardSearch(const QString& search) override;

    /// Room for captions and values in whatever font the grid has.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void ShowCurrentCellInToolTip();
    void LayRow(int row);
    void PlaceRows();
    void PlaceColumns();
    QSize SizeFor(int rows, int valueCharacters) const;
    int RowHeight() const;
    int CaptionWidth() const;
    int LongestCaption() const;

    PropertyRows m_Rows;
    Layout m_Layout{1300, 0};
    int m_TimesLaid = 0;
};
