#include "server/plant/LinkCheck.h"

#include "server/plant/Links.h"
#include "server/plant/Plant.h"

QString EndlessLinks()
{
    return QStringLiteral("its links go in a circle or over more than %1 items").arg(MaxLinkDepth);
}

LinkCheck::Finding LinkCheck::Look(const PlantItem& item)
{
    m_Chain.clear();
    m_Finding = Finding::Sound;
    Height(item);
    return m_Finding;
}

/// Items whose values go into this one's. Properties other than the value lead no further.
QList<PlantItemRef> LinkCheck::Sources(const PlantItem& item) const
{
    const ItemTraits& traits = item.Traits();
    QList<PlantItemRef> sources;
    if (!item.Controller() || (m_Along == Along::Followed && !item.FollowsLinks())) return sources;
    const auto add = [&](const QString& name) {
        if (PlantItemRef source = item.Controller()->Owner().Resolve(*item.Controller(), name)) sources.append(source);
    };
    if (traits.Property == LinkedProperty::Value) {
        for (const QString& link : traits.Links) add(ParseLink(link, traits.ExtractsElement).Name);
    }
    for (const QString& operand : item.Operands()) add(operand);
    return sources;
}

/// The most items that follow; empty when the chain is endless. Never goes deeper than MaxLinkDepth.
std::optional<int> LinkCheck::Height(const PlantItem& item)
{
    if (const auto known = m_Heights.constFind(&item); known != m_Heights.constEnd()) return *known;
    const QList<PlantItemRef> sources = Sources(item);
    if (sources.isEmpty()) return 0;
    if (m_Endless.contains(&item)) return End(Finding::FoundBefore);
    const bool wasHere = m_Chain.contains(&item);
    m_Chain.append(&item);
    if (wasHere || m_Chain.size() > MaxLinkDepth) return End(Finding::Endless);
    int height = 1;
    for (const PlantItemRef& source : sources) {
        const auto below = Height(*source);
        if (!below) return std::nullopt;
        height = std::max(height, *below + 1);
        if (m_Chain.size() - 1 + height > MaxLinkDepth) return End(Finding::Endless);
    }
    m_Chain.removeLast();
    m_Heights.insert(&item, height);
    return height;
}

std::nullopt_t LinkCheck::End(Finding finding)
{
    m_Finding = finding;
    for (const PlantItem* item : m_Chain) m_Endless.insert(item);
    return std::nullopt;
}
