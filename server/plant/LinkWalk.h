#pragma once

#include "server/plant/PlantItem.h"

#include <QHash>
#include <QSet>

/// The most items that one reading or writing goes through along links and operands.
inline constexpr int LongestWay = 16;

/// What is said of a way along links that never ends, or not in time.
QString EndlessWay();

/// Looks along links and operands, from item to item, for circles and for ways over too many items.
class LinkWalk
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
        FoundBefore ///< leads to a circle or way that has been found already
    };

    explicit LinkWalk(Along along)
        : m_Along(along)
    {
    }
    Finding Look(const PlantItem& item);
    /// The items of the way found last, in order; the first one is where the looking began.
    const QList<const PlantItem*>& Way() const { return m_Way; }

private:
    QList<PlantItemRef> Sources(const PlantItem& item) const;
    std::optional<int> Height(const PlantItem& item);
    std::nullopt_t End(Finding finding);

    const Along m_Along;
    Finding m_Finding = Finding::Sound;
    QList<const PlantItem*> m_Way;
    QHash<const PlantItem*, int> m_Heights; ///< how many items follow at most, of those that are looked at
    QSet<const PlantItem*> m_Endless;
};
