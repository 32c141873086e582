#pragma once

#include <QSyntaxHighlighter>

#include <array>

/// Colours a script: comments (also lines that begin with '), texts, numbers and keywords.
class ScriptHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    enum class Word
    {
        Comment,
        Text,
        Number,
        Keyword
    };

    explicit ScriptHighlighter(QTextDocument* document);

    /// Chooses colours that are legible on this palette's background and uses them from now on.
    void SetColours(const QPalette& palette);

protected:
    void highlightBlock(const QString& text) override;

private:
    /// What a line continues from the previous one.
    enum State
    {
        InCode = -1,
        InComment = 1,
        InTemplate = 2
    };

    qsizetype TakeRestOfEarlierLine();
    qsizetype TakeToken(qsizetype at);
    qsizetype TakeWord(qsizetype at, const QString& word);
    qsizetype TakeUntil(qsizetype start, qsizetype end, Word word, State goesOn);

    std::array<QTextCharFormat, 4> m_Formats;
    /// The line being coloured.
    QString m_Line;
    /// Whether a value stands before the current position, so that a slash is a division.
    bool m_AfterValue = false;
};
