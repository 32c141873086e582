#pragma once

#include <QByteArray>
#include <QSaveFile>

/// A file that takes the place of an older one when it is complete, and otherwise leaves it as it is. All functions
/// throw DescribedError.
class FileOutput
{
public:
    explicit FileOutput(const QString& path);

    void Write(const QByteArray& bytes);
    void Finish();

private:
    [[noreturn]] void Fail() const;
    [[noreturn]] void Fail(const QString& reason) const;

    QSaveFile m_File;
};
