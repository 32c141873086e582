#include "server/plant/LinkWalk.h"

#include "core/automation/Errors.h"
#include "server/plant/LinkCheck.h"
#include "server/plant/Plant.h"

LinkWalk::LinkWalk(const PlantItem& item)
    : m_State(item.Controller()->Owner().Walk())
    , m_GoesOn(item.FollowsLinks() || !item.Operands().isEmpty())
{
    if (!m_GoesOn) return;
    if (m_State.Items.isEmpty()) item.CheckLinks();
    // Writing may switch on links that were off when they were checked.
    if (m_State.Items.size() >= MaxLinkDepth || m_State.Items.contains(&item)) throw DescribedError(EndlessLinks());
    m_State.Items.append(&item);
}

LinkWalk::~LinkWalk()
{
    if (!m_GoesOn) return;
    m_State.Items.removeLast();
    if (m_State.Items.isEmpty()) m_State = State();
}

bool LinkWalk::HasRead(const PlantItem& alias)
{
    return alias.Controller()->Owner().Walk().Read.contains(&alias);
}

void LinkWalk::NoteRead(const PlantItem& alias)
{
    if (m_GoesOn) m_State.Read.insert(&alias);
}

void LinkWalk::NoteWrite()
{
    if (m_State.Items.isEmpty()) return;
    m_State.Read.clear();
    if (++m_State.Written > MostWritten)
        throw DescribedError(QStringLiteral("its links lead to more than %1 items").arg(MostWritten));
}
