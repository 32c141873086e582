#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class SourceVariable;

/// A message to all who hear its topic.
struct OutgoingMessage
{
    QByteArray Topic;
    QByteArray Payload;
    int Qos = 0; ///< 0 to 2
    bool Retains = false;
};

/// What became of a message.
struct Delivery
{
    enum class Outcome
    {
        Done,    ///< the broker has it
        Refused, ///< and would refuse it again
        Unknown  ///< it may be sent again
    };
    Outcome How = Outcome::Done;
    QString Why = {}; ///< empty when done
};

/// A source that also passes messages on to others.
class MessageOutlet
{
public:
    using Answered = std::function<void(const Delivery& delivery)>;

    /// From any thread; answered once, on a thread of the outlet's own.
    virtual void Publish(OutgoingMessage message, Answered answered) = 0;
    virtual bool IsTopic(const QByteArray& topic) const = 0;
    /// Whether what is published there comes back to this variable.
    virtual bool IsHeardBy(const QByteArray& topic, const SourceVariable& variable) const = 0;

protected:
    ~MessageOutlet() = default;
};
