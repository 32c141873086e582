#include "trend/files/FileOutput.h"

#include "core/automation/Errors.h"

FileOutput::FileOutput(const QString& path)
    : m_File(path)
{
    if (!m_File.open(QIODevice::WriteOnly)) Fail();
}

void FileOutput::Write(const QByteArray& bytes)
{
    if (m_File.write(bytes) != bytes.size()) Fail();
}

void FileOutput::Finish()
{
    if (!m_File.commit()) Fail();
}

void FileOutput::Fail() const
{
    throw DescribedError(QStringLiteral("%1 cannot be written: %2").arg(m_File.fileName(), m_File.errorString()));
}
