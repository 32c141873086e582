#pragma once

#include "server/definition/DefinedItems.h"

/// A file of added items, TOML that people can read and edit: [[item]] for each that is in its plant, [[aside]] for
/// each that did not fit when the plant was last read, with what was wrong. Private to the user.
class AddedItemsFile
{
public:
    /// In the state folder, for the plant file at `plantPath`.
    static QString PathFor(const QString& plantPath);

    explicit AddedItemsFile(QString path, QString title);

    const QString& Path() const { return m_Path; }
    /// Those that can be read; none without a file.
    QList<DefinedItem> Read();
    /// How many could not be read last time; they stay in the file as they are.
    qsizetype UnreadableCount() const { return m_Unreadable.size(); }
    /// Puts one more behind those that are there. Throws DescribedError.
    void Append(const DefinedItem& item);
    /// Replaces all but those that could not be read; those with an objection go aside. Throws DescribedError.
    void Write(const QList<DefinedItem>& items);

private:
    void ReadBlock(const QString& block, QList<DefinedItem>& items);

    QString m_Path;
    QString m_Title; ///< its first comment
    QStringList m_Unreadable;
};
