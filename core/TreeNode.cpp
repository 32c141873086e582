#include "core/TreeNode.h"

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

TreeNode::TreeNode(QString text, NodeTag tag)
    : m_Tag(tag)
    , m_Text(std::move(text))
{
}

TreeNode::~TreeNode()
{
    // Not recursive: a node whose last reference goes here hands over its children first.
    std::vector<TreeNodeRef> orphans = std::move(m_Children);
    while (!orphans.empty()) {
        const TreeNodeRef orphan = std::move(orphans.back());
        orphans.pop_back();
        orphan->m_Parent = nullptr;
        if (orphan->ref.loadRelaxed() > 1) continue;
        orphans.insert(orphans.end(), std::make_move_iterator(orphan->m_Children.begin()),
                       std::make_move_iterator(orphan->m_Children.end()));
        orphan->m_Children.clear();
    }
}

QString TreeNode::Key() const
{
    QString key = m_Text;
    for (const TreeNode* node = m_Parent; node; node = node->m_Parent) {
        key.prepend(PathSeparator);
        key.prepend(node->m_Text);
    }
    return key;
}

bool TreeNode::IsInTree() const
{
    const TreeNode* node = this;
    while (node->m_Parent) node = node->m_Parent;
    return node->m_IsRoot;
}
