#pragma once

#include <QByteArray>

#include <chrono>

/// A message that has come from a broker, and when.
struct ArrivedMessage
{
    QByteArray Topic;
    QByteArray Payload; ///< empty when it is too large
    qint64 Size;        ///< bytes, also of one that is too large
    std::chrono::system_clock::time_point Time;
};
