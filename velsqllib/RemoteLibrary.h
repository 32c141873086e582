#pragma once

#include "core/automation/ServerObjects.h"
#include "velsqllib/Connection.h"

/// The server's type library for a process of its own: reaches a running server, or starts the bundled one.
class RemoteLibrary : public VelSQLLib
{
public:
    /// Looks at the user's own socket and starts `velsqlserver` from beside the program, else from the path.
    RemoteLibrary();
    /// For tests and tools: another socket, another server program (none: nothing is started).
    RemoteLibrary(const QString& socketPath, const QString& serverProgram, const Attachment::Patience& patience = {});
    ~RemoteLibrary() override;

    void OnLongCall(std::function<void()> action) override;
    EngineRef CreateEngine() override;
    /// As CreateEngine, but starts no server: throws ServerError when none runs.
    EngineRef AttachEngine();
    ValueConverterRef CreateValueConverter() override;
    /// For who waits for events and would not notice that none can come. Throws ServerError when the server does not
    /// answer.
    void Ping();

private:
    void AttachOrStart();
    EngineRef AttachedEngine();

    QString m_SocketPath;
    QString m_ServerProgram;
    ConnectionRef m_Connection;
};
