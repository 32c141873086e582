#include "core/ObjectTreeModel.h"

#include "core/automation/Errors.h"
#include "core/DisplayText.h"

#include <QMimeData>

#include <chrono>

namespace {

/// For so long the event loop is held to look at names.
constexpr auto LearningTurn = std::chrono::milliseconds(1);

/// A plain pointer, because views ask for indexes, parents and counts very often.
TreeNode* NodeOf(const QModelIndex& index)
{
    return static_cast<TreeNode*>(index.internalPointer());
}

/// What the image shows, for those who do not see it.
QString KindToSpeak(NodeTag tag)
{
    return tag == NodeTag::AddItem ? QStringLiteral("Added item") : TagText(tag);
}

} // namespace

bool IsItem(const TreeNode& node)
{
    return node.Tag() == NodeTag::Item || node.Tag() == NodeTag::AddItem;
}

QString ItemName(const TreeNode& item)
{
    return item.Parent()->Text() + TreeNode::PathSeparator + item.Text();
}

ObjectTreeModel::ObjectTreeModel(QObject* parent)
    : QAbstractItemModel(parent)
{
    connect(&m_Learning, &QTimer::timeout, this, &ObjectTreeModel::LearnSome);
}

ObjectTreeModel::~ObjectTreeModel()
{
    if (m_Root) m_Root->m_IsRoot = false;
}

void ObjectTreeModel::SetImage(NodeTag tag, const QIcon& image)
{
    imglstMDI.at(static_cast<std::size_t>(tag)) = image;
}

QIcon ObjectTreeModel::Image(NodeTag tag) const
{
    return imglstMDI.at(static_cast<std::size_t>(tag));
}

void ObjectTreeModel::Clear()
{
    ReplaceRoot({});
}

TreeNodeRef ObjectTreeModel::SetRoot(const QString& text, NodeTag tag)
{
    ReplaceRoot(TreeNode::Make(text, tag));
    return m_Root;
}

void ObjectTreeModel::ReplaceRoot(const TreeNodeRef& root)
{
    // The nodes are released when no view knows them any more.
    const TreeNodeRef before = m_Root;
    beginResetModel();
    if (before) before->m_IsRoot = false;
    m_Root = root;
    m_ToLearn.clear();
    if (m_Root) m_Root->m_IsRoot = true;
    endResetModel();
}

TreeNodeRef ObjectTreeModel::Insert(const TreeNodeRef& parent, int row, const QString& text, NodeTag tag)
{
    InsertRows(parent, row, {1, [&](qsizetype) { return QStringView(text); }}, tag);
    return parent->Child(row);
}

TreeNodeRef ObjectTreeModel::Append(const TreeNodeRef& parent, const QString& text, NodeTag tag)
{
    return Insert(parent, parent ? parent->ChildCount() : 0, text, tag);
}

void ObjectTreeModel::Append(const TreeNodeRef& parent, const QStringList& texts, NodeTag tag)
{
    Append(parent, TextList::Of(texts), tag);
}

void ObjectTreeModel::Append(const TreeNodeRef& parent, const TextList& texts, NodeTag tag)
{
    InsertRows(parent, parent ? parent->ChildCount() : 0, texts, tag);
}

void ObjectTreeModel::InsertRows(const TreeNodeRef& parent, int row, const TextList& texts, NodeTag tag)
{
    if (!Holds(parent) || row < 0 || row > parent->ChildCount()) throw ValueError::SubscriptOutOfRange();
    if (texts.Count() == 0) return;
    // Made before the views hear of them, because a text may throw.
    std::vector<TreeNodeRef> nodes = NewChildren(*parent, row, texts, tag);
    if (!parent->m_Below) parent->m_Below = std::make_unique<TreeNode::Below>();
    std::vector<TreeNodeRef>& children = parent->m_Below->Children;
    const int count = static_cast<int>(nodes.size());
    // Also before, because there may be no memory for it.
    if (const std::size_t needed = children.size() + nodes.size(); !children.empty() && needed > children.capacity())
        children.reserve(needed + children.size() / 8);
    beginInsertRows(IndexOf(parent), row, row + count - 1);
    if (children.empty()) children = std::move(nodes);
    else children.insert(children.begin() + row, std::move_iterator(nodes.begin()), std::move_iterator(nodes.end()));
    if (parent->m_Tag == NodeTag::Controller && parent->m_Below->Names.Inserted(children, row, count)) {
        m_ToLearn.push_back(parent);
        m_Learning.start(0);
    }
    endInsertRows();
}

void ObjectTreeModel::LearnSome()
{
    const auto until = std::chrono::steady_clock::now() + LearningTurn;
    try {
        while (!m_ToLearn.empty() && std::chrono::steady_clock::now() < until) {
            TreeNode::Below& below = *m_ToLearn.back()->m_Below;
            if (!below.Names.Learn(below.Children)) m_ToLearn.pop_back();
        }
    } catch (const std::bad_alloc&) {
        m_ToLearn.clear(); // names that are not known are looked at
    }
    if (m_ToLearn.empty()) m_Learning.stop();
}

std::vector<TreeNodeRef> ObjectTreeModel::NewChildren(TreeNode& parent, int row, const TextList& texts, NodeTag tag)
{
    std::vector<TreeNodeRef> nodes;
    nodes.reserve(static_cast<std::size_t>(texts.Count()));
    for (qsizetype at = 0; at < texts.Count(); ++at) {
        nodes.push_back(TreeNode::Make(texts[at], tag));
        nodes.back()->m_Parent = &parent;
        nodes.back()->m_Row = row + static_cast<int>(at);
    }
    return nodes;
}

void ObjectTreeModel::Remove(const TreeNodeRef& node)
{
    if (!Holds(node)) return;
    if (node == m_Root) return Clear();
    // The caller's reference may be a child's slot in the vector itself.
    const TreeNodeRef removed = node;
    const TreeNodeRef parent = removed->Parent();
    const int row = removed->Row();
    beginRemoveRows(IndexOf(parent), row, row);
    TreeNode::Below& below = *parent->m_Below;
    below.Children.erase(below.Children.begin() + row);
    if (parent->m_Tag == NodeTag::Controller) below.Names.Removed(below.Children, row);
    removed->m_Parent = nullptr;
    endRemoveRows();
}

bool ObjectTreeModel::Holds(const TreeNodeRef& node) const
{
    const TreeNode* top = node.get();
    while (top && top->m_Parent) top = top->m_Parent;
    return top && top == m_Root.get();
}

TreeNodeRef ObjectTreeModel::FindByKey(QStringView key) const
{
    return m_Root ? FindBelow(m_Root, key) : TreeNodeRef();
}

TreeNodeRef ObjectTreeModel::FindBelow(const TreeNodeRef& node, QStringView key)
{
    // A name may hold the separator, so several paths may fit; only those that match so far are followed.
    if (!key.startsWith(node->TextView())) return {};
    const QStringView rest = key.sliced(node->m_Length);
    if (rest.isEmpty()) return node;
    if (rest.front() != TreeNode::PathSeparator) return {};
    for (const TreeNodeRef& child : node->Children())
        if (TreeNodeRef found = FindBelow(child, rest.sliced(1))) return found;
    return {};
}

TreeNodeRef ObjectTreeModel::NodeAt(const QModelIndex& index) const
{
    return TreeNodeRef(index.model() == this ? NodeOf(index) : nullptr);
}

QModelIndex ObjectTreeModel::IndexOf(const TreeNodeRef& node) const
{
    return Holds(node) ? createIndex(node->Row(), 0, node.get()) : QModelIndex();
}

QModelIndex ObjectTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column != 0 || row >= ObjectTreeModel::rowCount(parent)) return {};
    const TreeNode* node =
        parent.isValid() ? NodeOf(parent)->Children()[static_cast<std::size_t>(row)].get() : m_Root.get();
    return createIndex(row, column, node);
}

QModelIndex ObjectTreeModel::parent(const QModelIndex& child) const
{
    TreeNode* parent = child.isValid() ? NodeOf(child)->m_Parent : nullptr;
    return parent ? createIndex(parent->Row(), 0, parent) : QModelIndex();
}

int ObjectTreeModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid()) return m_Root ? 1 : 0;
    return parent.column() == 0 ? NodeOf(parent)->ChildCount() : 0;
}

int ObjectTreeModel::columnCount(const QModelIndex&) const
{
    return 1;
}

bool ObjectTreeModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

QVariant ObjectTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    const TreeNode* node = NodeOf(index);
    if (role == Qt::DisplayRole) return OneLine(node->Text());
    if (role == Qt::DecorationRole) return Image(node->m_Tag);
    if (role == Qt::AccessibleDescriptionRole) return KindToSpeak(node->m_Tag);
    return {};
}

Qt::ItemFlags ObjectTreeModel::flags(const QModelIndex& index) const
{
    constexpr Qt::ItemFlags Node = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (!index.isValid()) return {};
    return IsItem(*NodeOf(index)) ? Node | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren : Node;
}

QStringList ObjectTreeModel::mimeTypes() const
{
    return {QStringLiteral("text/plain")};
}

QMimeData* ObjectTreeModel::mimeData(const QModelIndexList& indexes) const
{
    QStringList names;
    for (const QModelIndex& index : indexes) {
        if (IsItem(*NodeOf(index))) names.append(ItemName(*NodeOf(index)));
    }
    auto* const data = new QMimeData;
    data->setText(names.join(u'\n'));
    return data;
}
