#pragma once

#include "server/definition/DefinedItems.h"

/// A file of added items, in TOML that people can read and edit: [[item]] for each item that is in its plant, [[aside]]
/// for each that did not fit when the plant was last read, with the reason. Private to the user.
class AddedItemsFile
{
public:
    /// The file lies in the state folder and belongs to the plant file at `plantPath`.
    static QString PathFor(const QString& plantPath);

    explicit AddedItemsFile(QString path, QString title);

    const QString& Path() const { return m_Path; }
    /// The items that can be read; empty when there is no file. Throws DescribedError when it cannot be read at present.
    QList<DefinedItem> Read();
    /// How many blocks of text, mostly items, could not be read last time; they stay in the file as they are.
    qsizetype UnreadableCount() const { return m_Unreadable.size() + (m_DamagedHead.isEmpty() ? 0 : 1); }
    /// Adds one item at the end, whole or not at all. Throws DescribedError.
    void Append(const DefinedItem& item);
    /// Replaces all items except those that could not be read; items with an objection go to [[aside]]. Throws
    /// DescribedError.
    void Write(const QList<DefinedItem>& items);

private:
    void ReadHead(const QByteArray& head);
    void ReadBlock(const QByteArray& block, QList<DefinedItem>& items);
    QByteArray Head() const;

    QString m_Path;
    QString m_Title;          ///< its first comment
    QByteArray m_DamagedHead; ///< what stands before the first item, unless it is only a comment
    QList<QByteArray> m_Unreadable;
};
