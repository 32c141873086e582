#pragma once

#include <QPlainTextEdit>

/// The message log: an editable text pane whose text carries CR LF line ends, as it is copied and handed out.
class LogPane : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// Longer lines are shown on several lines (their text stays in one piece): laying out a line takes time by its length.
    static constexpr qsizetype LongestShownLine = 4096;

    explicit LogPane(QWidget* parent = nullptr);

    /// How many characters the pane takes (ends of shown lines count two); default: what the widget itself can hold.
    qint64 Capacity() const { return m_Capacity; }
    void SetCapacity(qint64 characters) { m_Capacity = characters; }

    /// Puts `line` straight behind whatever text stands there, without undo history, the caret to the end, nothing selected.
    /// The line ends inside `line` are kept as given. Throws ValueError when the pane cannot take it; it is then unchanged.
    void Append(const QString& line);
    /// The whole text with its line ends.
    QString Text() const;
    /// Replaces the selection, or inserts at the caret; what does not fit is refused and changes nothing.
    void ReplaceSelection(const QString& text);
    QString SelectedText() const;

protected:
    QMimeData* createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// A text cut into the lines that the pane shows, and how each of them but the last ends.
    struct ShownText
    {
        explicit ShownText(QStringView text);
        qint64 Length() const { return Lines.size() + Ends.size(); }

        QString Lines;
        QList<int> Ends;

    private:
        void AddLine(QStringView line);
        void End(int how);
    };
    qint64 Length() const;
    void Insert(QTextCursor& cursor, const ShownText& shown);
    QString TextBetween(int start, int end) const;
    void ShowEndsOfEditedLines(int position, int charsAdded);

    qint64 m_Capacity;
    bool m_Inserting = false;
};
