#pragma once

#include "server/plant/PlantItem.h"

#include <QHash>
#include <QSet>

/// The most items that one reading or writing goes through along links and operands.
inline constexpr int MaxLinkDepth = 16;

/// What is said of links that never end, or not in time.
QString EndlessLinks();

/// Looks along links and operands, from item to item, for circles and for chains of too many items.
class LinkCheck
{
public:
    enum class Along
    {
        Followed, ///< links that are followed at present
        Defined   ///< all that items are described with
    };
    enum class Finding
    {
        Sound,
        Endless,
        FoundBefore ///< leads to a circle or chain that has been found already
    };

    explicit LinkCheck(Along along)
        : m_Along(along)
    {
    }
    Finding Look(const PlantItem& item);
    /// The items of the chain found last, in order; the first one is where the search began.
    const QList<const PlantItem*>& Chain() const { return m_Chain; }

private:
    QList<PlantItemRef> Sources(const PlantItem& item) const;
    std::optional<int> Height(const PlantItem& item);
    std::nullopt_t End(Finding finding);

    const Along m_Along;
    Finding m_Finding = Finding::Sound;
    QList<const PlantItem*> m_Chain;
    QHash<const PlantItem*, int> m_Heights; ///< how many items follow at most, of those that have been looked at
    QSet<const PlantItem*> m_Endless;
};
