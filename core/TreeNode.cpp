#include "core/TreeNode.h"

#include <algorithm>

QString TagText(NodeTag tag)
{
    switch (tag) {
    case NodeTag::Engine: return QStringLiteral("VelSQLEngine");
    case NodeTag::Controller: return QStringLiteral("Controller");
    case NodeTag::Item: return QStringLiteral("Item");
    case NodeTag::AddItem: return QStringLiteral("AddItem");
    case NodeTag::History: return QStringLiteral("VelSQLHistory");
    }
    return {};
}

const std::vector<TreeNodeRef> TreeNode::NoChildren;

TreeNodeRef TreeNode::Make(QStringView text, NodeTag tag)
{
    const auto textBytes = static_cast<std::size_t>(text.size()) * sizeof(char16_t);
    return TreeNodeRef(new (::operator new(sizeof(TreeNode) + textBytes)) TreeNode(text, tag));
}

TreeNode::TreeNode(QStringView text, NodeTag tag)
    : m_Tag(tag)
    , m_Length(static_cast<int>(text.size()))
{
    std::copy_n(text.utf16(), text.size(), reinterpret_cast<char16_t*>(this + 1));
}

TreeNode::~TreeNode()
{
    if (!m_Below) return;
    // Not recursive: a node whose last reference goes here hands over its children first.
    std::vector<TreeNodeRef> orphans = std::move(m_Below->Children);
    while (!orphans.empty()) {
        const TreeNodeRef orphan = std::move(orphans.back());
        orphans.pop_back();
        orphan->m_Parent = nullptr;
        if (orphan->ref.loadRelaxed() > 1 || !orphan->m_Below) continue;
        orphans.insert(orphans.end(), std::make_move_iterator(orphan->m_Below->Children.begin()),
                       std::make_move_iterator(orphan->m_Below->Children.end()));
        orphan->m_Below.reset();
    }
}

QString TreeNode::Key() const
{
    QString key = Text();
    for (const TreeNode* node = m_Parent; node; node = node->m_Parent) {
        key.prepend(PathSeparator);
        key.prepend(node->TextView());
    }
    return key;
}

int TreeNode::Row() const
{
    if (!m_Parent) return 0;
    const std::vector<TreeNodeRef>& siblings = m_Parent->Children();
    const int count = static_cast<int>(siblings.size());
    const auto standsAt = [&](int row) {
        return row >= 0 && row < count && siblings[static_cast<std::size_t>(row)].get() == this;
    };
    m_Row = std::min(m_Row, count - 1);
    int away = 0; // at most as many as have come and gone since
    while (away < count && !standsAt(m_Row - away) && !standsAt(m_Row + away)) ++away;
    return m_Row = standsAt(m_Row - away) ? m_Row - away : m_Row + away;
}

bool TreeNode::IsInTree() const
{
    const TreeNode* node = this;
    while (node->m_Parent) node = node->m_Parent;
    return node->m_IsRoot;
}
