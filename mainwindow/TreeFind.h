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
    // Once the search is done:
    FindResult GoToNext(bool backward);
    /// -1 or Count where the ends are passed.
    qsizetype NextHit(bool backward);
    FindResult ResultFor(qsizetype hit) const;
    /// Which of how many the marked or the selected node is.
    FindResult Place() const;
    /// How far a search has come.
    FindResult SoFar() const;

    void SearchFoundFirst();
    void SearchDone();
    void SearchAgain();

    ObjectTreeView* m_Tree;
    FindBar* m_Bar;
    NodeSearch m_Search;
    QTimer m_TreeHasChanged;
    bool m_IsTyping = false;    ///< the first hit is to be marked
    QList<bool> m_WaitingSteps; ///< what the operator has asked for meanwhile: forward or backward
};
