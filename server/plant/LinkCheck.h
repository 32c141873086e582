#pragma once

#include "server/plant/PlantItem.h"

#include <QHash>
#include <QSet>

/// The most items that one reading or writing passes through along links and operands.
inline constexpr int MaxLinkDepth = 16;

/// The message about links that never end, or not soon enough.
QString EndlessLinks();

/// Searches links and operands, from item to item, for circles and for chains of too many items.
class LinkCheck
{
public:
    enum class Along
    {
        Followed, ///< links that are followed at present
        Defined   ///< all links in the items' descriptions
    };
    enum class Finding
    {
        Sound,
        Endless,
        FoundBefore ///< leads to a circle or chain that was found before
    };

    explicit LinkCheck(Along along)
        : m_Along(along)
    {
    }
    Finding Look(const PlantItem& item);
    /// The items of the chain that was found last, in order; the search began at the first one.
    const QList<const PlantItem*>& Chain() const { return m_Chain; }

private:
    QList<PlantItemRef> Sources(const PlantItem& item) const;
    std::optional<int> Height(const PlantItem& item);
    std::nullopt_t End(Finding finding);

    const Along m_Along;
    Finding m_Finding = Finding::Sound;
    QList<const PlantItem*> m_Chain;
    /// For items already searched: the most items that follow.
    QHash<const PlantItem*, int> m_Heights;
    QSet<const PlantItem*> m_Endless;
};
