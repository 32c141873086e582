#include "trend/files/FileOutput.h"

#include "core/automation/Errors.h"

#include <cerrno>
#include <unistd.h>

FileOutput::FileOutput(const QString& path)
    : m_File(path)
{
    if (!m_File.open(QIODevice::WriteOnly)) Fail();
}

void FileOutput::Write(const QByteArray& bytes)
{
    errno = 0;
    if (m_File.write(bytes) == bytes.size()) return;
    if (errno != 0) Fail(qt_error_string(errno)); // of a full disk Qt says "Unknown error"
    Fail();
}

void FileOutput::Finish()
{
    if (!m_File.flush()) Fail();
    // Qt does this, too, but without a look at whether it has succeeded.
    if (fdatasync(m_File.handle()) != 0) Fail(qt_error_string(errno));
    if (!m_File.commit()) Fail();
}

void FileOutput::Fail() const
{
    Fail(m_File.errorString());
}

void FileOutput::Fail(const QString& reason) const
{
    throw DescribedError(QStringLiteral("%1 cannot be written: %2").arg(m_File.fileName(), reason));
}
