#pragma once

#include "scripttool/OutputPipe.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSocketNotifier>
#include <QStringDecoder>
#include <QTimer>

#include <memory>

/// One run of a script in a separate process, which ends with this object, whatever it is doing. Output is read at most
/// once a frame and in limited pieces; a script that prints faster has to wait.
class ScriptProcess : public QObject
{
    Q_OBJECT

public:
    enum class Channel
    {
        Output,
        Errors
    };

    explicit ScriptProcess(QObject* parent);
    ~ScriptProcess() override;

    /// To be called once: runs `program`, which gets `script` on its standard input.
    void Start(const QString& program, const QStringList& arguments, const QByteArray& script);
    /// Asks the process and its own children to end, and kills them half a second later.
    void Stop();

Q_SIGNALS:
    void Printed(ScriptProcess::Channel channel, const QString& text);
    /// Emitted once, when the process has ended (or could not be started) and all of its output has been delivered; the
    /// argument is a sentence for the operator.
    void Ended(const QString& how);

private:
    /// What the process prints on one channel.
    struct Source
    {
        explicit Source(Channel channel);

        OutputPipe Pipe;
        /// Read from the pipe, but not yet delivered.
        QByteArray Unread;
        const Channel Own;
        /// The channel of what is read now: marks may enclose errors in the output.
        Channel Kind;
        QStringDecoder Decode{QStringDecoder::Utf8};
        QSocketNotifier Arrival;
    };
    using SourceRef = std::unique_ptr<Source>;

    void OpenSources();
    void SetUpChild();
    void Signal(int signal);
    void Listen();
    void TakeTurn();
    bool Deliver(Source& source);
    void TurnIsOver();
    void Process_Finished(int exitCode, QProcess::ExitStatus status);
    void Process_Failed(QProcess::ProcessError error);
    void Fail(const QString& how);

    QProcess m_Process;
    qint64 m_Group = 0;
    SourceRef m_Output;
    SourceRef m_Errors;
    QElapsedTimer m_Turn;
    QTimer m_Pause;
    QTimer m_Patience;
    QString m_How;
    bool m_Stopped = false;
    bool m_MoreWaits = false;
};
