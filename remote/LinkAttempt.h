#pragma once

#include "remote/Greeting.h"
#include "remote/SshProcess.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

/// One ssh, from its start until the bridge at its other end has greeted, and afterwards what ssh says at its end.
class LinkAttempt : public QObject
{
    Q_OBJECT

public:
    LinkAttempt(const QString& host, SshProcess::Attempt kind);

    void Start();
    /// What came after the greeting.
    const QByteArray& Rest() const { return m_Greeting.Rest(); }
    Descriptor TakeInput() { return m_Ssh.TakeInput(); }
    Descriptor TakeOutput() { return std::move(m_Output); }

Q_SIGNALS:
    void Greeted(const Greeting& greeting);
    /// It has not come to a greeting, or ssh has ended; `why` may have several lines.
    void Failed(const QString& why);

private:
    void Read();
    QString WhyEnded(int exitCode) const;

    const SshProcess::Attempt m_Kind;
    SshProcess m_Ssh;
    Descriptor m_Output;
    std::unique_ptr<QSocketNotifier> m_Readable;
    GreetingReader m_Greeting;
    QTimer m_Due;
};
