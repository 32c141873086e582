#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// An MQTT broker of the test's own on a free port of this machine, and the clients that come with it.
class BrokerRun
{
public:
    /// `settings` are further lines of its configuration.
    explicit BrokerRun(const QByteArray& settings = "allow_anonymous true\npersistence true\n");
    ~BrokerRun() { Stop(); }

    int Port() const { return m_Port; }
    QString Folder() const { return m_Folder.path(); }
    /// Returns when it listens; ends the program when it does not within 20 seconds.
    void Start();
    /// What it keeps for clients is there again when it starts.
    void Stop();
    /// A client that does what its words say: "mosquitto_pub -t topic -m message".
    void Run(QProcess& client, const QStringList& words) const;
    /// Publishes and waits until that is done; `words` stand before the message, which goes as it is.
    void Publish(const QStringList& words, const QByteArray& message) const;

private:
    QTemporaryDir m_Folder;
    int m_Port = 0;
    QProcess m_Broker;
};
