#pragma once

#include <utility>

#include <unistd.h>

/// A file descriptor that closes itself.
class Descriptor
{
public:
    explicit Descriptor(int number = -1)
        : m_Number(number)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_Number(other.Release())
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        Reset(other.Release());
        return *this;
    }
    ~Descriptor() { Reset(); }

    int Number() const { return m_Number; }
    bool IsOpen() const { return m_Number >= 0; }
    int Release() { return std::exchange(m_Number, -1); }
    void Reset(int number = -1)
    {
        if (const int old = std::exchange(m_Number, number); old >= 0) close(old);
    }

private:
    int m_Number;
};
