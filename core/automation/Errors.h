#pragma once

#include <QString>

#include <stdexcept>

/// A failure that an operator can read: everything that this system throws on purpose carries a description.
class DescribedError : public std::runtime_error
{
public:
    explicit DescribedError(const QString& description);

    /// The text for the log, unchanged; may be empty or have several lines.
    const QString& Description() const { return m_Description; }

private:
    QString m_Description;
};

/// A call on a server object failed; the description is the server's own text, byte for byte.
class ServerError : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// A value or a text does not fit what it was to become.
class ValueError : public DescribedError
{
public:
    using DescribedError::DescribedError;

    static ValueError TypeMismatch();
    static ValueError Overflow();
    static ValueError SubscriptOutOfRange();
    /// `what` is added after a colon.
    static ValueError InvalidCall(const QString& what = {});
};

/// The description of the exception being handled; only to be called inside a catch block.
QString CurrentErrorDescription();
