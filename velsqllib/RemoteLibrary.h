#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Connection.h"
#include "velsqllib/ServerStarter.h"

/// The server's type library for a separate process: reaches a running server, or starts the bundled one.
class RemoteLibrary : public VelSQLLib
{
public:
    /// Uses the user's own socket, and starts the `velsqlserver` beside the program, else the one on the path. Below
    /// velsqlremote it uses the socket of the remote server, and never starts one.
    RemoteLibrary();
    /// For tests and tools: another socket, another server program (if empty, nothing is started).
    RemoteLibrary(const QString& socketPath, const QString& serverProgram, const Attachment::Patience& patience = {});
    ~RemoteLibrary() override;

    void OnLongCall(std::function<void()> action) override;
    /// See Connection. A large plant takes seconds to be read.
    void OnServerBusy(std::function<void(const QString& what)> action);
    QString Absence() const override;
    void OnServerChange(std::function<void()> action) override;
    bool IsPrompt() const override { return m_Connection->IsPrompt(); }
    qsizetype TakeSteps(const QList<CallStep>& steps, qsizetype first) override;
    QString VersionNote() const override { return m_Connection->VersionNote(); }
    EngineRef CreateEngine() override;
    /// As CreateEngine, but starts no server: throws ServerError when none is running.
    EngineRef AttachEngine();
    ValueConverterRef CreateValueConverter() override;
    /// For programs that wait for events and would otherwise not notice that none can come. Throws ServerError when the
    /// server does not answer.
    void Ping();

private:
    void AttachOrStart(std::optional<ServerStarter>& starter);
    EngineRef AttachedEngine();

    QString m_SocketPath;
    QString m_ServerProgram;
    bool m_IsRemote = false;
    ConnectionRef m_Connection;
};
