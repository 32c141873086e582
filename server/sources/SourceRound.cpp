#include "server/sources/SourceRound.h"

#include <algorithm>

/// What has not begun will not be answered.
SourceRound::~SourceRound()
{
    for (const Group& group : m_Groups) {
        for (SourceVariable* variable : group.Variables) variable->NoteAnswer();
    }
}

void SourceRound::Remove(const SourceVariable& variable)
{
    for (Group& group : m_Groups) std::erase(group.Variables, &variable);
}

void SourceRound::Add(SourceVariable& variable)
{
    if (m_IsScan && (variable.m_Asked > 0 || !variable.IsDue())) return;
    Source* const owner = variable.Owner();
    // As a rule all variables of a round belong to the same source.
    auto group = std::ranges::find(m_Groups, owner, &Group::Owner);
    if (group == m_Groups.end()) group = m_Groups.insert(m_Groups.end(), {owner, {}});
    group->Variables.push_back(&variable);
    ++variable.m_Asked;
}

void SourceRound::Begin(const std::function<void()>& done)
{
    auto groups = std::exchange(m_Groups, {});
    for (Group& group : groups) group.Owner->Read(std::move(group.Variables), done);
}
