#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// What a bridge says first: by it the launcher knows where the output of the shell's start-up files ends, and whether
/// both ends understand each other.
struct Greeting
{
    static constexpr int OwnProtocol = 1;

    int Protocol = 0;
    QString Version;
    QString User; ///< whose server it is

    /// Of this program and its user.
    static Greeting Own();
    QByteArray Encode() const;
};

/// Finds the greeting in what a remote shell and then the bridge write.
class GreetingReader
{
public:
    /// The greeting once it is complete. Throws DescribedError when too much comes before it, or none can follow.
    std::optional<Greeting> Add(const QByteArray& bytes);
    /// What came after the greeting.
    const QByteArray& Rest() const { return m_Bytes; }
    /// The beginning of what came instead of it.
    QString Before() const;

private:
    QByteArray m_Bytes;
};
