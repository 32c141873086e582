#pragma once

#include <QPlainTextEdit>

/// A text pane that shows a long line on several lines, because laying out a line takes time by its length, and hands
/// it out in one piece, with the line ends that it was given.
class LinePane : public QPlainTextEdit
{
    Q_OBJECT

public:
    static constexpr qsizetype LongestShownLine = 4096;

    /// The text between two positions of the document.
    QString TextBetween(int start, int end) const;

protected:
    /// `usualEnd` is how a line ends of which nothing else is known.
    explicit LinePane(QString usualEnd, QWidget* parent = nullptr);

    /// A text cut into the lines that the pane shows, and how each of them but the last ends.
    struct ShownText
    {
        /// `used`: so many characters stand already on the line that the text goes on.
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
    /// Takes the place of what the cursor selects.
    void Insert(QTextCursor& cursor, const ShownText& shown, const QTextCharFormat& format = {});
    /// From now on the lines end as usual that stand in this part of the document.
    void EndAsUsual(int position, int length);

    QMimeData* createMimeDataFromSelection() const override;

private:
    QString EndText(int end) const;

    QString m_UsualEnd;
};
