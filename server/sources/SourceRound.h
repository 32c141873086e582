#pragma once

#include "server/sources/Source.h"

/// Variables that are to be read together, each by its source.
class SourceRound
{
public:
    /// Of a scan, which leaves out what is still being read or not due; otherwise everything is read now.
    explicit SourceRound(bool isScan)
        : m_IsScan(isScan)
    {
    }

    SourceRound(const SourceRound&) = delete;
    SourceRound& operator=(const SourceRound&) = delete;
    ~SourceRound();

    /// A variable that has an owner.
    void Add(SourceVariable& variable);
    /// The variable is given up before the round begins.
    void Remove(const SourceVariable& variable);
    int SourceCount() const { return static_cast<int>(m_Groups.size()); }
    /// Hands the variables over; `done` is called once for each source.
    void Begin(const std::function<void()>& done);

private:
    struct Group
    {
        Source* Owner;
        std::vector<SourceVariable*> Variables;
    };

    const bool m_IsScan;
    std::vector<Group> m_Groups;
};
