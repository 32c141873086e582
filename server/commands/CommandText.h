#pragma once

#include <QString>

/// Splits a command: words between blanks, or in double quotes (with "" for a quote), and the rest unchanged.
class CommandText
{
public:
    explicit CommandText(const QString& text);

    bool IsAtEnd() const { return m_Rest.trimmed().isEmpty(); }
    /// Throws DescribedError, which says that `what` is missing.
    QString Word(const char16_t* what);
    /// Throws DescribedError unless the next word is a whole number of at least `lowest`.
    qint32 Number(const char16_t* what, qint32 lowest);
    /// Everything that follows, blanks included.
    QString Rest();

private:
    QString m_Text;
    QStringView m_Rest;
};
