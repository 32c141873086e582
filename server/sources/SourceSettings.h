#pragma once

#include <QStringList>

/// What a plant file says of a source. Asking for what has the wrong form notes a mistake with its line and returns the
/// fallback, so that one reading finds all mistakes; keys that nobody asks for are mistakes as well.
class SourceSettings
{
public:
    /// Relative paths start from here.
    virtual QString Folder() const = 0;
    virtual bool Has(const char* key) const = 0;
    virtual void Refuse(const char* key, const QString& what) = 0;

    virtual QString Text(const char* key, const QString& fallback = {}) = 0;
    /// A text that must be there and not be empty.
    virtual QString Name(const char* key) = 0;
    virtual bool Flag(const char* key, bool fallback) = 0;
    virtual qint32 Integer(const char* key, qint32 lowest, qint32 highest, qint32 fallback) = 0;
    /// Seconds as whole milliseconds; `lowest` and `highest` are milliseconds, too.
    virtual qint32 Seconds(const char* key, qint32 lowest, qint32 highest, qint32 fallback) = 0;
    /// The position of a text among those that may stand there.
    virtual int Choice(const char* key, const QStringList& choices, int fallback) = 0;

protected:
    ~SourceSettings() = default;
};
