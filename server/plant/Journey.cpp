#include "server/plant/Journey.h"

#include "core/automation/Errors.h"
#include "server/plant/LinkWalk.h"
#include "server/plant/Plant.h"

namespace {

/// What is under way; the plant does one thing at a time.
struct CurrentWay
{
    QList<const PlantItem*> Items;
    QSet<const PlantItem*> Read;
    int Written = 0;
};

CurrentWay s_Way;

} // namespace

Journey::Journey(const PlantItem& item)
    : m_GoesOn(item.FollowsLinks() || !item.Operands().isEmpty())
{
    if (!m_GoesOn) return;
    if (s_Way.Items.isEmpty()) item.CheckWay();
    // Writing may switch links on that were off when the way was looked along.
    if (s_Way.Items.size() >= LongestWay || s_Way.Items.contains(&item)) throw DescribedError(EndlessWay());
    s_Way.Items.append(&item);
}

Journey::~Journey()
{
    if (!m_GoesOn) return;
    s_Way.Items.removeLast();
    if (s_Way.Items.isEmpty()) s_Way = CurrentWay();
}

bool Journey::HasRead(const PlantItem& alias)
{
    return s_Way.Read.contains(&alias);
}

void Journey::NoteRead(const PlantItem& alias) const
{
    if (m_GoesOn) s_Way.Read.insert(&alias);
}

void Journey::NoteWriting() const
{
    if (s_Way.Items.isEmpty()) return;
    s_Way.Read.clear();
    if (++s_Way.Written > MostWritten)
        throw DescribedError(QStringLiteral("its links lead to more than %1 items").arg(MostWritten));
}
