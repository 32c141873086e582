#include "scripttool/velsqlscript/ScriptFile.h"

#include "core/automation/Errors.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <cstdio>

namespace {

QByteArray ReadBytes(QFile& file, const QString& title)
{
    QByteArray bytes = file.read(LargestScript + 1);
    while (bytes.size() <= LargestScript) { // a pipe returns only what has arrived
        const QByteArray more = file.read(LargestScript + 1 - bytes.size());
        if (more.isEmpty()) break;
        bytes += more;
    }
    if (file.error() != QFile::NoError)
        throw DescribedError(QStringLiteral("%1: cannot be read: %2").arg(title, file.errorString()));
    if (bytes.size() > LargestScript) throw DescribedError(QStringLiteral("%1: is larger than 16 MiB").arg(title));
    return bytes;
}

QByteArray ReadFile(const QString& path, const QString& title)
{
    QFile file(path);
    if (path == QStringLiteral("-")) {
        if (!file.open(stdin, QFile::ReadOnly))
            throw DescribedError(QStringLiteral("%1: standard input cannot be read").arg(title));
        return ReadBytes(file, title);
    }
    const QFileInfo info(path);
    if (!info.exists()) throw DescribedError(QStringLiteral("%1: there is no such file").arg(title));
    if (!info.isFile())
        throw DescribedError(
            QStringLiteral("%1: is not a file (a script may also come through standard input, as \"-\")").arg(title));
    if (!file.open(QFile::ReadOnly))
        throw DescribedError(QStringLiteral("%1: cannot be read: %2").arg(title, file.errorString()));
    return ReadBytes(file, title);
}

/// Counts from 1.
qsizetype FirstBadLine(const QByteArray& bytes)
{
    qsizetype number = 0;
    for (const QByteArray& line : bytes.split('\n')) {
        ++number;
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(line);
        if (decoder.hasError()) break;
    }
    return number;
}

} // namespace

QString ReadScript(const QString& path, const QString& title)
{
    const QByteArray bytes = ReadFile(path, title);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError())
        throw DescribedError(QStringLiteral("%1:%2: is not UTF-8").arg(title, QString::number(FirstBadLine(bytes))));
    return text;
}
