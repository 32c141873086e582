#pragma once

#include <QtGlobal>

/// Numbers that follow from a seed, on every machine.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_State(seed * 0x9E3779B97F4A7C15 + 1)
    {
    }

    quint64 Next()
    {
        m_State += 0x9E3779B97F4A7C15;
        quint64 mixed = (m_State ^ (m_State >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return mixed ^ (mixed >> 31);
    }
    /// 0 to `end` - 1.
    quint64 Below(quint64 end) { return Next() % end; }
    int Between(int first, int last) { return first + static_cast<int>(Below(static_cast<quint64>(last - first + 1))); }
    bool OneIn(quint64 count) { return Below(count) == 0; }
    template <typename List>
    auto& OneOf(List& list)
    {
        return list[static_cast<decltype(list.size())>(Below(static_cast<quint64>(list.size())))];
    }

private:
    quint64 m_State;
};
