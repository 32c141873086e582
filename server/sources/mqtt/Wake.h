#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

/// Wakes up a thread that polls its descriptor.
class Wake
{
public:
    Wake() = default;
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;
    ~Wake() { close(m_Descriptor); }

    int Descriptor() const { return m_Descriptor; }
    /// From any thread.
    void Signal() const { eventfd_write(m_Descriptor, 1); }
    void Clear() const
    {
        eventfd_t count = 0;
        eventfd_read(m_Descriptor, &count);
    }

private:
    const int m_Descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};
