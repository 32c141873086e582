// The file of items that operators have added. What can be read and what cannot is all there when it is written again.
#include "server/added/AddedItemsFile.h"
#include "tests/fuzz/Fuzz.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

void Put(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/velsql-fuzz-XXXXXX"));
    static const bool isSet = qputenv("XDG_STATE_HOME", QFile::encodeName(folder.path()));
    const QString path = folder.filePath(QStringLiteral("items.toml"));
    Require(isSet && folder.isValid());
    Put(path, BytesOf(bytes, size));
    AddedItemsFile file(path, QStringLiteral("Title"));
    const QList<DefinedItem> items = file.Read();
    const qsizetype unreadable = file.UnreadableCount();
    file.Write(items);
    const QList<DefinedItem> again = file.Read();
    Require(again.size() == items.size() && file.UnreadableCount() == unreadable);
    for (qsizetype i = 0; i < items.size(); ++i)
        Require(again[i].Controller == items[i].Controller && again[i].Definition == items[i].Definition);
    return 0;
}
