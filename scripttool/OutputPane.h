#pragma once

#include <QPlainTextEdit>

/// Shows what a script prints, plain or as an error, and keeps the last lines of it.
class OutputPane : public QPlainTextEdit
{
    Q_OBJECT

public:
    enum class Kind
    {
        Output,
        Error
    };

    static constexpr int MaxLines = 10'000;
    /// In UTF-16 units: 4 MiB.
    static constexpr int MaxCharacters = 2 * 1024 * 1024;
    /// Longer lines are shown on several lines and copied as one: laying out a line takes time by its length.
    static constexpr qsizetype LongestShownLine = 4096;

    explicit OutputPane(QWidget* parent = nullptr);

    /// Adds `text` at the end, which stays in sight unless the operator has scrolled away from it.
    void Append(const QString& text, Kind kind);
    void Clear();
    /// The text between two positions, each line in one piece.
    QString TextBetween(int start, int end) const;

Q_SIGNALS:
    /// The operator double-clicked a line, or pressed Enter on it.
    void LineChosen(const QString& line);

protected:
    QMimeData* createMimeDataFromSelection() const override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void Insert(QStringView text, Kind kind);
    void DropEarlier(bool someAlready);
    void ColourErrors();
    void ChooseLineAtCaret();

    /// Characters on the last line shown.
    qsizetype m_LineLength = 0;
};
