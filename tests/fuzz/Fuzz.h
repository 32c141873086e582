#pragma once

#include <QByteArray>
#include <QString>

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

/// What the targets promise of every input; a finding otherwise.
inline void Require(bool isSo)
{
    if (!isSo) std::abort();
}

inline QByteArray BytesOf(const quint8* bytes, size_t size)
{
    return {reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size)};
}

/// As UTF-8 or, behind a NUL, as UTF-16, which also has halves of surrogate pairs.
inline QString TextOf(const quint8* bytes, size_t size)
{
    const QByteArray all = BytesOf(bytes, size);
    if (!all.startsWith('\0')) return QString::fromUtf8(all);
    QString text((all.size() - 1) / 2, Qt::Uninitialized);
    if (!text.isEmpty()) memcpy(text.data(), all.constData() + 1, static_cast<size_t>(text.size()) * sizeof(QChar));
    return text;
}

/// A file in memory, for parsers that take a path.
class InputFile
{
public:
    explicit InputFile(const QByteArray& content = {})
        : m_Descriptor(memfd_create("input", MFD_CLOEXEC))
    {
        Set(content);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile() { close(m_Descriptor); }

    QString Path() const { return QStringLiteral("/proc/self/fd/%1").arg(m_Descriptor); }
    void Set(const QByteArray& content) const
    {
        Require(ftruncate(m_Descriptor, 0) == 0);
        Require(pwrite(m_Descriptor, content.constData(), static_cast<size_t>(content.size()), 0) == content.size());
    }

private:
    const int m_Descriptor;
};
