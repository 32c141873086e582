#pragma once

#include <QPlainTextEdit>

/// A text pane that shows a long line as several, because the time to lay a line out grows with its length. The text is
/// handed out in one piece, with its original line ends.
class LinePane : public QPlainTextEdit
{
    Q_OBJECT

public:
    static constexpr qsizetype LongestShownLine = 4096;

    enum class Kind
    {
        Output,
        Error ///< stands out by its colour
    };

    /// The text between two positions of the document.
    QString TextBetween(int start, int end) const;

protected:
    /// `usualEnd` ends all lines whose own end is not known.
    explicit LinePane(QString usualEnd, QWidget* parent = nullptr);

    /// A text cut into the lines that the pane shows, and how each of them but the last ends.
    struct ShownText
    {
        /// `used` is the number of characters that are already on the line at which the text starts.
        ShownText(QStringView text, const QString& usualEnd, qsizetype used = 0);
        ShownText() = default;
        void Add(const ShownText& other);
        qint64 Length() const { return Lines.size() + Ends.size(); }

        QString Lines;
        QList<int> Ends;

    private:
        void AddLine(QStringView line);
        void End(int how);

        qsizetype m_Used = 0;
    };
    ShownText Shown(QStringView text, qsizetype used = 0) const { return {text, m_UsualEnd, used}; }
    struct Part
    {
        ShownText Shown;
        Kind What = Kind::Output;
    };
    /// Replaces what the cursor selects.
    void Insert(QTextCursor& cursor, const QList<Part>& parts);
    /// The pane itself, not the operator, is changing the document.
    bool IsInserting() const { return m_Inserting; }
    /// From now on the lines in this part of the document have the usual end.
    void EndAsUsual(int position, int length);

    QMimeData* createMimeDataFromSelection() const override;
    void changeEvent(QEvent* event) override;

private:
    QString EndText(int end) const;
    QTextCharFormat FormatOf(Kind kind) const;
    void InsertPart(QTextCursor& cursor, const Part& part) const;
    void InsertLines(QTextCursor& cursor, const QString& lines, Kind kind) const;
    void ColourErrors();

    QString m_UsualEnd;
    bool m_Inserting = false;
};
