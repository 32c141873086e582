#pragma once

#include <QExplicitlySharedDataPointer>
#include <QStringView>

#include <array>
#include <vector>

class TreeNode;
using TreeNodeRef = QExplicitlySharedDataPointer<TreeNode>;

/// Which groups of up to three letters occur in the names of siblings, some names at a time, so that a text is looked
/// for only where all its groups occur. Takes two bytes a name, and nothing for few names.
///
/// The groups are kept as a superimposed code (signature file, Faloutsos and Christodoulakis 1984): there may be more
/// than there are, never fewer. Letter case does not matter to them.
class NameParts
{
public:
    /// The groups of a text.
    class Wanted
    {
    public:
        explicit Wanted(QStringView text);

    private:
        friend class NameParts;
        std::vector<quint16> m_Bits;
    };

    /// `count` siblings have come at the row; `siblings` has them already. True when there is more to learn
    /// than before.
    bool Inserted(const std::vector<TreeNodeRef>& siblings, int row, int count);
    /// The sibling at the row has gone; `siblings` has it no more.
    void Removed(const std::vector<TreeNodeRef>& siblings, int row);
    /// Looks at some names more, which takes some microseconds; false when all are known. What is not known yet is
    /// taken for having every group.
    bool Learn(const std::vector<TreeNodeRef>& siblings);

    struct Rows
    {
        int First, End; ///< End is behind the last one
    };
    /// The next rows from this one on where the text may be; behind the last row when there are none.
    Rows Next(int row, const Wanted& text) const;

private:
    using Bits = std::array<quint64, 16>;
    struct Part
    {
        int First;    ///< row; it goes on to the next part's
        bool IsKnown; ///< else it may be of any length
        Bits Groups;
    };

    static bool MayHold(const Part& part, const Wanted& text);
    std::size_t PartAt(int row) const;
    int End(std::size_t part, const std::vector<TreeNodeRef>& siblings) const;
    void LearnPart(std::size_t part, const std::vector<TreeNodeRef>& siblings);
    void Move(std::size_t part, int rows);

    std::vector<Part> m_Parts;
    std::size_t m_Learnt = 0; ///< all parts before this one are known
};
