#pragma once

#include <QListView>
#include <QTimer>

class EventLines;

/// A list box for tens of thousands of lines: each line is one row whatever it holds, the last one is selected, and the
/// screen is updated at most once a frame.
class EventList : public QListView
{
    Q_OBJECT

public:
    /// The line count is a signed 16-bit number.
    static constexpr int MostLines = 32'767;
    /// All lines together, in characters, so that huge values do not fill the memory.
    static constexpr qsizetype MostCharacters = 64 * 1024 * 1024;

    explicit EventList(QWidget* parent = nullptr);

    /// Adds a line and selects it. Throws ValueError "Overflow" when the list is full; it is then unchanged.
    void AddLine(const QString& line);
    void Clear();
    int ListCount() const;
    /// Throws ValueError "Subscript out of range".
    QString List(int index) const;

    /// Puts all lines that are there now on the clipboard, one below the other, whatever is selected: the next event
    /// may select the last line at any moment.
    void CopyAll() const;
    /// Shows them as selected until the next event, or the operator, selects one.
    void selectAll() override;

    /// Room for eight lines in whatever font the list has.
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void ShowLastLine();

    EventLines* m_Lines;
    QTimer m_NextFrame;
};
