#pragma once

#include <QString>

#include <optional>

/// Walks once over the text of an array: elements between commas, texts in double quotes, typed texts in braces. What
/// stands wrong throws ValueError.
class TextCursor
{
public:
    explicit TextCursor(QStringView text);

    bool InBraces() const { return m_Braces > 0; }
    /// Whether only blanks are left, of the text or of the braces that the cursor is in.
    bool AtEnd();
    /// Steps over blanks and `c` when `c` comes next.
    bool TakeIf(QChar c);
    /// As TakeIf, but throws when something else comes.
    void Take(QChar c);
    void EnterBraces();
    void LeaveBraces();

    /// All that is left, as it stands.
    QStringView TakeRest();
    /// Up to the next comma or the end of the braces, without the blanks around.
    QStringView TakePlain();
    /// One element of an array of texts: quoted, or plain as TakePlain has it.
    QString TakeText();
    /// The array's lower bound when its text begins with one, such as "[1..]".
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

/// Writes one element of an array of texts so that TakeText reads it back: in quotes only when it needs them.
void AppendTextElement(QString& out, const QString& text);
void AppendLowerBound(QString& out, qint32 lowerBound);
