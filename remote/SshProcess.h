#pragma once

#include "remote/Descriptor.h"

#include <QObject>
#include <QProcess>

/// The user's own ssh, running the bridge on another machine: configuration, keys, known hosts and questions are its
/// business.
class SshProcess : public QObject
{
    Q_OBJECT

public:
    /// Whether this is the first link, or one that takes the place of a lost one: such a one does not use a connection
    /// that the user's other ssh programs share, as it may be the one that hangs. One that is tried beside another asks
    /// nobody anything, and does not wait long.
    enum class Attempt
    {
        First,
        Again,
        Beside
    };

    SshProcess(const QString& host, Attempt attempt);
    /// Ends it at once.
    ~SshProcess() override;

    void Start();
    Descriptor TakeInput() { return std::move(m_ToSsh); }
    Descriptor TakeOutput() { return std::move(m_FromSsh); }
    /// The last of what it, or the other machine, wrote to standard error.
    QString LastWords() const;

Q_SIGNALS:
    /// `exitCode` is -1 when a signal ended it.
    void Ended(int exitCode);
    void Missing();

private:
    void KeepErrors();

    QProcess m_Process;
    Descriptor m_ToSsh;
    Descriptor m_FromSsh;
    QByteArray m_Errors;
};
