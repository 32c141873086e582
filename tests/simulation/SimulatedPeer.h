#pragma once

#include "tests/simulation/Random.h"
#include "tests/simulation/Trace.h"

#include <QByteArray>

#include <optional>
#include <set>
#include <thread>
#include <vector>

/// How whatever is asked answers.
enum class Mood
{
    Prompt,
    Late,
    Failing,
    Wrong, ///< with what is none
    Silent ///< until it is in another mood
};

/// What the server's sources reach under a port of this machine, whoever connects there: a device or a broker, which
/// serves each connection on a thread.
class SimulatedPeer
{
public:
    SimulatedPeer(quint16 port, Random& random, Trace& trace);
    SimulatedPeer(const SimulatedPeer&) = delete;
    SimulatedPeer& operator=(const SimulatedPeer&) = delete;
    virtual ~SimulatedPeer();

    /// The other end of a new connection; none when nobody takes it.
    static std::optional<int> ConnectTo(quint16 port);

    void SetMood(Mood mood);
    /// Without it all connections are lost, and no other one is taken.
    void SetReachable(bool isReachable);

protected:
    /// Until Receive finds the end.
    virtual void Serve(int socket) = 0;

    /// All of these bytes; false at the end of the connection.
    static bool Receive(int socket, QByteArray& bytes, qsizetype count);
    static void Send(int socket, const QByteArray& bytes);
    /// Lets the time pass that an answer takes. Returns the mood in which it is given.
    Mood Think(int promptMs, int lateMs);
    Random& Chance() { return m_Random; }
    void Note(const QString& what);
    /// To be called before what Serve uses goes.
    void Close();

private:
    int Take();

    const quint16 m_Port;
    Random& m_Random;
    Trace& m_Trace;
    Mood m_Mood = Mood::Prompt;
    bool m_IsReachable = true;
    std::set<int> m_Sockets; ///< of its connections
    std::vector<std::jthread> m_Threads;
};
