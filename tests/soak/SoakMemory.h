#pragma once

#include <QFile>

#include <malloc.h>

#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // GCC brings no header of it
#endif

/// What this process holds of the heap, in KiB. What the process takes from the system would say less: a sanitizer
/// keeps what was given back, and remembers who asked for it.
inline qint64 HeapInUse()
{
#ifdef __SANITIZE_ADDRESS__
    return static_cast<qint64>(__sanitizer_get_current_allocated_bytes() / 1024);
#else
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<qint64>((heap.uordblks + heap.hblkhd) / 1024);
#endif
}

/// Resident memory of a process in KiB; 0 when it is not there.
inline qint64 ResidentOf(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) return line.simplified().split(' ')[1].toLongLong();
    }
    return 0;
}
