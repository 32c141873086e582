#include "server/plant/ItemPass.h"

#include "server/plant/Plant.h"

namespace {

/// Looking at the clock takes as long as reading a few plain items, so it is done for many of them together. What
/// reading other items, and telling an observer of a change, may cost is counted in plain items.
constexpr qsizetype ItemsBetweenLooks = 256;
constexpr qsizetype WeightOfEvent = 32;

/// The processor fetches what comes soon while others are read.
constexpr qsizetype FetchedAhead = 4;

} // namespace

ItemPass::ItemPass(PlantController& controller, std::optional<int> scanClass)
    : m_Controller(controller)
    , m_Items(scanClass ? controller.m_ByClass[static_cast<std::size_t>(*scanClass)] : controller.Items())
    , m_EndsWithStop(scanClass)
    , m_Round(scanClass.has_value())
{
    NoteState();
    m_Controller.m_Passes.append(this);
}

ItemPass::~ItemPass()
{
    m_Controller.m_Passes.removeOne(this);
}

bool ItemPass::Continue(Clock::time_point until)
{
    const Moment now = m_Controller.Owner().Host().Now();
    const qsizetype eventWeight = m_Controller.m_Observers.size() * WeightOfEvent;
    qsizetype sinceLook = ItemsBetweenLooks; // a time that has come is noticed after the first item
    while (!IsOver()) {
        if (m_Next + 2 * FetchedAhead < m_Items.size()) m_Items[m_Next + 2 * FetchedAhead]->Prefetch();
        if (m_Next + FetchedAhead < m_Items.size()) m_Items[m_Next + FetchedAhead]->PrefetchVariable();
        PlantItem& item = *m_Items[m_Next++];
        item.Scan(now, m_Round);
        sinceLook += item.IsPlain() ? 1 + eventWeight : ItemsBetweenLooks;
        if (sinceLook < ItemsBetweenLooks) continue;
        if (Clock::now() >= until) break;
        sinceLook = 0;
    }
    if (IsOver()) Ask();
    return IsOver();
}

void ItemPass::Ask()
{
    if (!m_IsCutShort) m_Asked = BeginRound(m_Round);
}

void ItemPass::NoteInserted(const QList<PlantItemRef>& items, qsizetype at)
{
    if (&items == &m_Items && at < m_Next) ++m_Next;
}

void ItemPass::NoteRemoved(const QList<PlantItemRef>& items, qsizetype at)
{
    if (&items == &m_Items && at < m_Next) --m_Next;
}

/// Also when the controller is started again before the next portion.
void ItemPass::NoteState()
{
    if (m_EndsWithStop && !m_Controller.IsScanned()) m_IsCutShort = true;
}
