#pragma once

#include "server/sources/SourceSettings.h"

#include <chrono>
#include <optional>

/// Where a broker is and how to speak to it.
struct BrokerSettings
{
    QString Host;
    int Port = 1883;
    bool IsEncrypted = false;
    QString AuthorityFile;   ///< certificates to trust; empty: those of the system
    QString CertificateFile; ///< of this client; empty when the broker asks for none
    QString KeyFile;
    bool ChecksName = true; ///< the broker's certificate must name the host
    QString User;
    QString PasswordFile; ///< whose first line it is; read at each connecting
    QString ClientId;     ///< empty: a new one for each connection
    bool IsVersion5 = false;
    bool TakesWrites = true; ///< what items are given; what is published goes out all the same
    std::chrono::seconds KeepAlive{30};
    std::chrono::milliseconds TimeOut{5000};      ///< for connecting, and until the broker has acknowledged
    std::chrono::milliseconds LongestPause{2000}; ///< between two attempts to connect

    /// "mqtts://host:8883".
    QString Address() const;
    QString Unreachable(const QString& why) const;
};

/// None when there are mistakes.
std::optional<BrokerSettings> ReadBrokerSettings(SourceSettings& settings);
