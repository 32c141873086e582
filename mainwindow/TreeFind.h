#pragma once

#include "core/FindTarget.h"
#include "core/NodeSearch.h"

#include <QTimer>

class FindBar;
class ObjectTreeView;

/// Finds nodes by their names. While the text is typed, the view only scrolls to a hit and marks it; finding moves the
/// selection like an operator's key.
class TreeFind : public FindTarget
{
public:
    TreeFind(ObjectTreeView* tree, const ObjectTreeModel& nodes, FindBar* bar);

    QWidget* Control() override;
    /// Marks the first hit from the selected node on.
    FindResult Typed(const QString& text) override;
    /// Goes to the marked hit, else to the next one.
    FindResult Find(const QString& text, bool backward) override;
    void Leave() override;

private:
    /// -1 or Count where the ends are passed.
    qsizetype NextHit(bool backward);
    FindResult ResultFor(qsizetype hit);
    /// The tree has changed: which of how many it is now.
    void SayPlace();

    ObjectTreeView* m_Tree;
    FindBar* m_Bar;
    NodeSearch m_Search;
    QTimer m_TreeHasChanged;
};
