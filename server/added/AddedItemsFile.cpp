#include "server/added/AddedItemsFile.h"

#include "core/automation/Errors.h"
#include "server/definition/Definition.h"
#include "server/plantfile/DefinitionToml.h"
#include "server/plantfile/FileTable.h"
#include "velsqllib/StateFolder.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

QString BlockOf(const DefinedItem& item)
{
    const QString head = item.Objection.isEmpty() ? QStringLiteral("[[item]]\n")
                                                  : QStringLiteral("[[aside]]\n# %1\n").arg(TomlText(item.Objection));
    return QStringLiteral("\n%1controller = %2\ndefinition = %3\n")
        .arg(head, TomlText(item.Controller), DefinitionToToml(item.Definition));
}

/// Throws DescribedError when the table does not describe an item correctly.
DefinedItem ItemOf(const QString& toml)
{
    Mistakes mistakes{QString()};
    try {
        const std::string text = toml.toStdString();
        const toml::table root = toml::parse(std::string_view(text));
        FileTable table(root, mistakes);
        DefinedItem item = {table.Name("controller"), DefinitionFromToml(table.Values("definition"))};
        const Definition checked(item.Definition);
        if (mistakes.IsEmpty()) return item;
    } catch (const toml::parse_error&) {
        mistakes.Add(0, QStringLiteral("not TOML"));
    }
    throw DescribedError(mistakes.Texts().first());
}

[[noreturn]] void Refuse(const QString& path, const QString& reason)
{
    throw DescribedError(QStringLiteral("%1 cannot be written: %2").arg(path, reason));
}

void Put(const QString& path, const QString& text, QIODevice::OpenMode mode)
{
    MakePrivateFolder(StateFolder());
    MakePrivateFolder(QFileInfo(path).path());
    const int descriptor =
        open(QFile::encodeName(path).constData(),
             O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | (mode & QIODevice::Append ? O_APPEND : O_TRUNC), 0600);
    if (descriptor < 0) Refuse(path, qt_error_string(errno));
    QFile file;
    if (!file.open(descriptor, mode | QIODevice::Unbuffered, QFile::AutoCloseHandle)) Refuse(path, file.errorString());
    const qint64 before = file.size();
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) == bytes.size()) return;
    const QString reason = file.errorString();
    file.resize(before);
    Refuse(path, reason);
}

/// Empty when it is not there.
QByteArray ContentOf(const QString& path)
{
    QFile file(path);
    if (!file.exists()) return {};
    QByteArray content;
    if (file.open(QIODevice::ReadOnly)) content = file.readAll();
    if (file.error() != QFile::NoError)
        throw DescribedError(QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()));
    return content;
}

} // namespace

QString AddedItemsFile::PathFor(const QString& plantPath)
{
    const QFileInfo plant(plantPath);
    const QString path = plant.canonicalFilePath().isEmpty() ? plant.absoluteFilePath() : plant.canonicalFilePath();
    const QByteArray hash = QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QStringLiteral("%1/added-items/%2-%3.toml")
        .arg(StateFolder(), plant.completeBaseName().left(100), QString::fromLatin1(hash.first(8)));
}

AddedItemsFile::AddedItemsFile(QString path, QString title)
    : m_Path(std::move(path))
    , m_Title(std::move(title))
{
}

QList<DefinedItem> AddedItemsFile::Read()
{
    m_Unreadable.clear();
    QList<DefinedItem> items;
    QString block;
    // Each block is read by itself, so that a damaged one does not affect the others.
    for (const QString& line : QString::fromUtf8(ContentOf(m_Path)).split(u'\n')) {
        const bool begins = line == QStringLiteral("[[item]]") || line == QStringLiteral("[[aside]]");
        if (begins) ReadBlock(std::exchange(block, QString()), items);
        block += line + u'\n';
    }
    ReadBlock(block, items);
    return items;
}

void AddedItemsFile::ReadBlock(const QString& block, QList<DefinedItem>& items)
{
    if (!block.startsWith(QStringLiteral("[["))) return; // the title
    try {
        items.append(ItemOf(block.section(u'\n', 1)));
    } catch (const DescribedError&) {
        m_Unreadable.append(block.trimmed());
    }
}

void AddedItemsFile::Append(const DefinedItem& item)
{
    const bool isNew = !QFile::exists(m_Path);
    Put(m_Path, (isNew ? QStringLiteral("# %1\n").arg(m_Title) : QString()) + BlockOf(item),
        QIODevice::WriteOnly | QIODevice::Append);
}

void AddedItemsFile::Write(const QList<DefinedItem>& items)
{
    QString text = QStringLiteral("# %1\n").arg(m_Title);
    for (const DefinedItem& item : items) text += BlockOf(item);
    for (const QString& block : m_Unreadable) text += u'\n' + block + u'\n';
    const QString next = m_Path + QStringLiteral(".next");
    Put(next, text, QIODevice::WriteOnly | QIODevice::Truncate);
    if (std::rename(QFile::encodeName(next).constData(), QFile::encodeName(m_Path).constData()) != 0)
        Refuse(m_Path, qt_error_string(errno));
}
