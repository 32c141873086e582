#pragma once

#include <QPlainTextEdit>

class ScriptHighlighter;

/// The editor of the script tool: numbers its lines, marks the current one and one with an error, and keeps the
/// indentation.
class CodeEditor : public QPlainTextEdit
{
    Q_OBJECT

public:
    static constexpr int IndentWidth = 4;
    /// Longer texts are refused: laying them out and colouring them takes too long.
    static constexpr qsizetype MaxCharacters = 1024 * 1024;
    static constexpr qsizetype MaxLineLength = 32 * 1024;

    explicit CodeEditor(QWidget* parent = nullptr);

    /// The script with LF between its lines, every character as typed.
    QString Script() const;
    /// Replaces the script, with any kind of line end. Throws DescribedError when the text is too long.
    void SetScript(const QString& script);

    /// `line` counts from 1; a line that does not exist changes nothing.
    void GoToLine(int line);
    /// Marks a line until the mark is cleared; the mark moves along when lines before it change.
    void MarkError(int line);
    void ClearError();

Q_SIGNALS:
    /// Pasted text was refused; the argument is a sentence for the operator.
    void Refused(const QString& why);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    class LineNumbers;

    void CheckLength(const QString& added, qsizetype removed, qsizetype besides) const;
    void BreakLine();
    void InsertTab();
    void IndentLines(bool deeper);
    bool SelectsSeveralLines() const;
    void FitToFont();
    void PlaceLineNumbers();
    void UpdateLineNumbers(const QRect& rect, int dy);
    void PaintLineNumbers(QPainter& painter, const QRect& rect);
    void MarkLines();

    LineNumbers* m_LineNumbers;
    ScriptHighlighter* m_Highlighter;
    /// On the line with the error; null when there is none.
    QTextCursor m_Error;
};
