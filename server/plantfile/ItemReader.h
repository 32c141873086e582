#pragma once

#include "server/definition/DefinedItems.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Plant.h"
#include "server/plantfile/FileTable.h"
#include "server/plantfile/ReadingProgress.h"

/// A controller that takes items, and its name in the file, which differs when that is missing or taken.
struct ItemOwner
{
    PlantController& Controller;
    QString Name;
    bool IsDeviceKnown = true; ///< false: the device that it names is a mistake, which has been noted
};

/// Reads the items of a plant, entry by entry, whether they stand in the plant file or in a file of tags.
class ItemReader
{
public:
    /// Relative paths start from `folder`.
    ItemReader(Plant& plant, QString folder, Mistakes& mistakes, ReadingProgress& progress);

    const QString& Folder() const { return m_Folder; }
    Mistakes& MistakesOf(const QString& file) { return m_Mistakes.Of(file); }

    /// Adds the items that an entry describes: one, or one for each number of the range in its name.
    void Read(FileTable entry, const ItemOwner& owner);
    /// There are as many items as there may be; further ones are a mistake that has been noted.
    bool IsFull() const { return m_Progress.Items() > MostItems; }
    /// Once all entries are read: adds the items that are given by definitions and looks at all links.
    void Finish();

    /// What may stand in an entry; keys of its signal as "signal.low".
    static QStringList Keys();

private:
    /// An entry's links, to be looked at when all items are there.
    struct Linked
    {
        PlantController& Controller;
        QString Name;
        QStringList Links;
        bool Extracts;
        Place At;
    };

    void ReadOne(FileTable entry, const QString& name, const ItemOwner& owner);
    void NoteDefinition(FileTable entry, const ItemOwner& owner);
    void CheckLinks(const Linked& linked, LinkCheck& check);

    Plant& m_Plant;
    const QString m_Folder;
    Mistakes& m_Mistakes;
    ReadingProgress& m_Progress;
    std::vector<Linked> m_Linked;
    QList<DefinedItem> m_Defined;
    std::vector<Place> m_DefinedAt;
};
