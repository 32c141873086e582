#pragma once

#include <QString>

/// Takes a command apart: words between blanks, or between double quotes with "" for a quote, and the rest as it is.
class CommandText
{
public:
    explicit CommandText(const QString& text);

    bool IsAtEnd() const { return m_Rest.trimmed().isEmpty(); }
    /// Throws DescribedError that says that `what` is missing.
    QString Word(const char16_t* what);
    /// Throws DescribedError when the next word is not a whole number from `lowest` on.
    qint32 Number(const char16_t* what, qint32 lowest);
    /// Everything that follows, blanks included.
    QString Rest();

private:
    QString m_Text;
    QStringView m_Rest;
};
