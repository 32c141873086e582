#pragma once

#include <QString>

#include <optional>

/// Walks once over the text of an array: elements between commas, texts in double quotes, typed texts in braces. Throws
/// ValueError at the first mistake.
class TextCursor
{
public:
    explicit TextCursor(QStringView text);

    bool InBraces() const { return m_Braces > 0; }
    /// Whether only blanks are left in the text, or in the braces in which the cursor is.
    bool AtEnd();
    /// Skips blanks, and `c` if it comes next; returns whether it did.
    bool TakeIf(QChar c);
    /// As TakeIf, but throws when something else comes next.
    void Take(QChar c);
    void EnterBraces();
    void LeaveBraces();

    /// Everything that is left, unchanged.
    QStringView TakeRest();
    /// Everything up to the next comma or the end of the braces, without surrounding blanks.
    QStringView TakePlain();
    /// One element of an array of texts: in quotes, or plain as in TakePlain.
    QString TakeText();
    /// The array's lower bound if the text begins with one, such as "[1..]".
    std::optional<qint32> TakeLowerBound();

private:
    bool AtDelimiter() const;
    void SkipBlanks();
    QString TakeQuoted();
    QStringView Left() const { return m_Text.sliced(m_At); }

    QStringView m_Text;
    qsizetype m_At = 0;
    int m_Braces = 0;
};

/// Writes one element of an array of texts so that TakeText reads it back: in quotes only when necessary.
void AppendTextElement(QString& out, const QString& text);
void AppendLowerBound(QString& out, qint32 lowerBound);
