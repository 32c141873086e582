#pragma once

#include "server/sources/mqtt/Payload.h"
#include "server/sources/SourceVariable.h"

/// What a plant file says of one item: where its values come from, where written ones go, and how messages are values.
struct MqttBinding
{
    QByteArray Filter;   ///< the topic to hear; with wildcards several
    QByteArray SetTopic; ///< where written values go; empty when there is no such topic
    PayloadForm Form = {};
    int Qos = 0; ///< 0 to 2
    bool Retains = false;
};

/// Reads a topic and an option such as "/data/temp qos=1 retain". Throws VariableError.
MqttBinding ReadMqttBinding(const VariableText& text);

/// What a filter hears: without the "$share/<group>/" of a shared one.
QByteArray HeardBy(const QByteArray& filter);
bool HasWildcards(const QByteArray& filter);
bool Hears(const QByteArray& filter, const QByteArray& topic);

/// Whether messages can be sent there: it is not empty, not too long and has no wildcards.
bool IsTopicToPublish(const QByteArray& topic);
