#pragma once

#include <QPlainTextEdit>
#include <QTimer>

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
    /// The document has it within a frame of the screen, together with all others of that frame: laying out costs by the piece.
    void Append(const QString& line);
    /// Puts what was appended into the document at once. The routines below and the operator's actions do it by themselves.
    void ShowAppended();
    /// The whole text with its line ends.
    QString Text();
    /// Replaces the selection, or inserts at the caret; what does not fit is refused and changes nothing.
    void ReplaceSelection(const QString& text);
    QString SelectedText();

protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    QMimeData* createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    /// A text cut into the lines that the pane shows, and how each of them but the last ends.
    struct ShownText
    {
        ShownText() = default;
        explicit ShownText(QStringView text);
        void Add(const ShownText& other);
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
    ShownText m_Appended;
    QTimer m_Frame;
    bool m_Inserting = false;
};
