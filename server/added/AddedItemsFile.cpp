#include "server/added/AddedItemsFile.h"

#include "core/automation/Errors.h"
#include "server/definition/Definition.h"
#include "server/plantfile/DefinitionToml.h"
#include "server/plantfile/FileTable.h"
#include "velsqllib/StateFolder.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
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
DefinedItem ItemOf(const QByteArray& toml)
{
    Mistakes mistakes{QString()};
    try {
        const toml::table root = toml::parse(std::string_view(toml));
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

/// Also where an editor has put blanks or carriage returns around it.
bool BeginsBlock(const QByteArray& line)
{
    const QByteArray word = line.trimmed();
    return word == "[[item]]" || word == "[[aside]]";
}

/// Without the line ends behind it; all else stays as it is.
QByteArray WithoutEnd(QByteArray block)
{
    while (block.endsWith('\n') || block.endsWith('\r')) block.chop(1);
    return block;
}

/// Whether there are only comments in it.
bool IsTitle(const QByteArray& text)
{
    const QList<QByteArray> lines = text.split('\n');
    return std::all_of(lines.begin(), lines.end(), [](const QByteArray& line) {
        const QByteArray words = line.trimmed();
        return words.isEmpty() || words.startsWith('#');
    });
}

void Put(const QString& path, const QByteArray& bytes, QIODevice::OpenMode mode)
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
    if (file.write(bytes) == bytes.size()) return;
    const QString reason = file.errorString();
    file.resize(before);
    Refuse(path, reason);
}

/// Some editors mark their UTF-8, one after the other.
QByteArray WithoutMarks(const QByteArray& content)
{
    qsizetype begin = 0;
    while (QByteArrayView(content).sliced(begin).startsWith("\xEF\xBB\xBF")) begin += 3;
    return content.sliced(begin);
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
    return WithoutMarks(content);
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
    QByteArray block;
    bool isHead = true;
    const auto end = [&] {
        const QByteArray ended = WithoutEnd(std::exchange(block, {}));
        std::exchange(isHead, false) ? ReadHead(ended) : ReadBlock(ended, items);
    };
    // Each block is read by itself, so that a damaged one does not affect the others.
    for (const QByteArray& line : ContentOf(m_Path).split('\n')) {
        if (BeginsBlock(line)) end();
        block += line + '\n';
    }
    end();
    return items;
}

void AddedItemsFile::ReadHead(const QByteArray& head)
{
    m_DamagedHead = IsTitle(head) ? QByteArray() : head;
}

void AddedItemsFile::ReadBlock(const QByteArray& block, QList<DefinedItem>& items)
{
    try {
        items.append(ItemOf(block.mid(block.indexOf('\n') + 1)));
    } catch (const DescribedError&) {
        m_Unreadable.append(block);
    }
}

void AddedItemsFile::Append(const DefinedItem& item)
{
    const bool isNew = !QFile::exists(m_Path);
    Put(m_Path, (isNew ? Head() : QByteArray()) + BlockOf(item).toUtf8(), QIODevice::WriteOnly | QIODevice::Append);
}

void AddedItemsFile::Write(const QList<DefinedItem>& items)
{
    QByteArray text = Head();
    for (const DefinedItem& item : items) text += BlockOf(item).toUtf8();
    for (const QByteArray& block : m_Unreadable) text += '\n' + block + '\n';
    const QString next = m_Path + QStringLiteral(".next");
    Put(next, text, QIODevice::WriteOnly | QIODevice::Truncate);
    if (std::rename(QFile::encodeName(next).constData(), QFile::encodeName(m_Path).constData()) != 0)
        Refuse(m_Path, qt_error_string(errno));
}

QByteArray AddedItemsFile::Head() const
{
    return m_DamagedHead.isEmpty() ? QStringLiteral("# %1\n").arg(m_Title).toUtf8() : m_DamagedHead + '\n';
}
