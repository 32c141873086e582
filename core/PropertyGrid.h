#pragma once

#include "core/ChangeMarks.h"

#include <QPointer>
#include <QTableWidget>

#include <functional>
#include <optional>

class ServerPresence;

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
/// and setting a cell to the text it already shows costs nothing. Values that are no data are dimmed, those that have
/// just changed are marked.
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

    /// From now on all values are dimmed while the server is gone.
    void Follow(ServerPresence& presence);

    QString CellText(int row, int column) const;
    /// Why the row's value is no data; null when it was read, or not yet tried, and the server is there.
    QString WhyUnread(int row) const;
    /// Some row's last read has failed.
    bool HasFailedRows() const;
    /// The row's value has changed a moment ago.
    bool IsMarked(int row) const { return m_Marks.Has(row); }
    void SetValueText(int row, const QString& text);
    /// Reads one row and shows it; a failed read shows the row's OnFailure text. Never throws, never logs. Reading may
    /// destroy the grid or lay it out again.
    void RefreshRow(int row);

    /// Does nothing: letters copy the current cell instead of searching for another one.
    void keyboardSearch(const QString& search) override;

    /// Room for captions and values in whatever font the grid has.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The server that it follows has gone or is back.
    void ServerChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void ShowCurrentCellInToolTip();
    void ShowReading(int row, const QString& text, const std::optional<QString>& failure);
    void UpdateValue(int row) { update(model()->index(row, 1)); }
    void LayRow(int row);
    void PlaceRows();
    void PlaceColumns();
    QSize SizeFor(int rows, int valueCharacters) const;
    int RowHeight() const;
    int CaptionWidth() const;
    int LongestCaption() const;

    /// How a row's value was read last.
    struct Reading
    {
        bool WasTried = false;
        std::optional<QString> Failure = {};
    };

    PropertyRows m_Rows;
    QList<Reading> m_Readings;
    ChangeMarks m_Marks;
    QPointer<ServerPresence> m_Presence;
    Layout m_Layout{1300, 0};
    int m_TimesLaid = 0;
};
