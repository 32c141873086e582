#include "bench/Figures.h"
#include "core/FindBar.h"
#include "core/ObjectTreeModel.h"
#include "mainwindow/ObjectTreeView.h"
#include "mainwindow/TreeFind.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int ControllerCount = 1000;
constexpr int ItemCount = 100;
constexpr int NodeCount = 1 + ControllerCount * (1 + ItemCount);
constexpr int Rounds = 7;

struct Controller
{
    QString Name;
    QStringList ItemNames;
};

/// What a server's answers bring. The texts live on in the nodes, so that they are part of what a node costs.
QList<Controller> Listing()
{
    QList<Controller> controllers;
    for (int i = 0; i < ControllerCount; ++i) {
        controllers.append({u"PLC"_s + QString::number(i), {}});
        for (int item = 0; item < ItemCount; ++item) controllers.last().ItemNames << u"Line%1.D%2"_s.arg(i).arg(item);
    }
    return controllers;
}

qint64 HeapBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<qint64>(heap.uordblks + heap.hblkhd);
}

void Show(QAbstractItemView& view)
{
    view.resize(300, 600);
    view.show();
    QApplication::processEvents();
}

class OwnTree
{
public:
    OwnTree(const QList<Controller>& listing, const QIcon& image)
    {
        for (const NodeTag tag : {NodeTag::Engine, NodeTag::Controller, NodeTag::Item}) m_Model.SetImage(tag, image);
        m_View.setModel(&m_Model);
        const TreeNodeRef root = m_Model.SetRoot(u"VelSQLEngine"_s, NodeTag::Engine);
        for (const Controller& controller : listing)
            m_Model.Append(m_Model.Append(root, controller.Name, NodeTag::Controller), controller.ItemNames,
                           NodeTag::Item);
        m_View.Expand(m_Model.IndexOf(root));
        Show(m_View);
    }

private:
    ObjectTreeModel m_Model;
    LargeTreeView m_View;
};

/// The same tree in the toolkit's own widget, built the quickest way: the view learns of it when it is complete.
class WidgetTree
{
public:
    WidgetTree(const QList<Controller>& listing, const QIcon& image)
    {
        auto* root = NewItem(u"VelSQLEngine"_s, NodeTag::Engine, image);
        for (const Controller& controller : listing) {
            QTreeWidgetItem* node = NewItem(controller.Name, NodeTag::Controller, image);
            QList<QTreeWidgetItem*> items;
            for (const QString& name : controller.ItemNames) items << NewItem(name, NodeTag::Item, image);
            node->addChildren(items);
            root->addChild(node);
        }
        m_View.addTopLevelItem(root);
        m_View.setHeaderHidden(true);
        m_View.setUniformRowHeights(true);
        root->setExpanded(true);
        Show(m_View);
    }

private:
    static QTreeWidgetItem* NewItem(const QString& text, NodeTag tag, const QIcon& image)
    {
        auto* item = new QTreeWidgetItem({text}, QTreeWidgetItem::UserType + static_cast<int>(tag));
        item->setIcon(0, image);
        return item;
    }

    QTreeWidget m_View;
};

struct Figure
{
    double BuildMs;
    double DestroyMs;
    double BytesPerNode;
};

template <typename Tree>
Figure MeasureOnce(const QIcon& image)
{
    QElapsedTimer timer;
    const qint64 before = HeapBytes();
    QList<Controller> listing = Listing();
    timer.start();
    auto tree = std::make_unique<Tree>(listing, image);
    const double buildMs = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    listing = {};
    const double bytes = static_cast<double>(HeapBytes() - before) / NodeCount;
    timer.start();
    tree.reset();
    return {buildMs, static_cast<double>(timer.nsecsElapsed()) / 1e6, bytes};
}

double Median(QList<Figure> figures, double Figure::*which)
{
    std::sort(figures.begin(), figures.end(),
              [which](const Figure& a, const Figure& b) { return a.*which < b.*which; });
    return figures.at(figures.size() / 2).*which;
}

void Print(const char* name, const QList<Figure>& figures)
{
    std::printf("  %-20s build %7.1f ms, destroy %6.1f ms, memory %6.1f bytes a node\n", name,
                Median(figures, &Figure::BuildMs), Median(figures, &Figure::DestroyMs),
                Median(figures, &Figure::BytesPerNode));
}

/// Looking up every controller and one item of each, against going through all nodes once.
bool CompareLookup()
{
    ObjectTreeModel model;
    const TreeNodeRef root = model.SetRoot(u"VelSQLEngine"_s, NodeTag::Engine);
    QStringList keys;
    for (const Controller& controller : Listing()) {
        const TreeNodeRef node = model.Append(root, controller.Name, NodeTag::Controller);
        model.Append(node, controller.ItemNames, NodeTag::Item);
        keys << node->Child(node->Row() % ItemCount)->Key();
    }
    int found = 0;
    int next = 0;
    const auto lookUp = [&] { found += model.FindByKey(keys.at(next++ % keys.size())) ? 1 : 0; };
    const auto goThrough = [&] {
        const QString key = keys.at(next++ % keys.size());
        for (int row = 0; row < root->ChildCount(); ++row)
            for (int i = 0; i < ItemCount; ++i) found += root->Child(row)->Child(i)->TextView() == key ? 1 : 0;
    };
    const QList<Figures::Cost> costs = Figures::MeasureInTurn(10, 100, {lookUp, goThrough});
    Figures::PrintCost(u"find a node by its key"_s, costs[0]);
    Figures::PrintCost(u"compare all texts once"_s, costs[1]);
    return Figures::PrintRatio(u"find / compare all"_s, costs[0].MedianUs / costs[1].MedianUs, 0.1) && found == 1000;
}

/// Keystrokes in the tree's find bar over a million names under one controller, which the first one opens, against a
/// bare pass over the same names.
bool CompareFinding()
{
    QStringList names;
    for (int i = 0; i < 1'000'000; ++i) names << u"Line%1.Pump%2"_s.arg(i / 1000).arg(i % 1000);
    ObjectTreeModel model;
    ObjectTreeView view;
    view.setModel(&model);
    const TreeNodeRef root = model.SetRoot(u"VelSQLEngine"_s, NodeTag::Engine);
    model.Append(model.Append(root, u"PLC1"_s, NodeTag::Controller), names, NodeTag::Item);
    view.SelectNode(root);
    view.show();
    FindBar bar;
    TreeFind find(&view, model, &bar);
    const auto& said = *bar.findChild<QLabel*>(u"lblFound"_s);
    const auto type = [&](const QString& text) {
        return [&, text] {
            bar.Say(find.Typed(text));
            do QApplication::processEvents();
            while (!said.text().contains(u" of ")); // counted
        };
    };
    qsizetype found = 0;
    const QStringMatcher matcher(u"pump77"_s, Qt::CaseInsensitive);
    const auto barePass = [&] {
        for (const QString& name : std::as_const(names)) found += matcher.indexIn(name) >= 0 ? 1 : 0;
    };
    QList<Figures::Cost> costs = Figures::MeasureInTurn(1, 1, {type(u"p"_s)});
    costs << Figures::MeasureInTurn(Rounds, 1, {barePass, type(u"pump77"_s), type(u"p"_s), type(u"pu"_s)});
    const QStringList what = {u"\"p\" in a million names, opens the controller"_s, u"bare pass over the names"_s,
                              u"\"pump77\" in place of another text"_s, u"\"p\" again"_s, u"\"pu\" after it"_s};
    for (qsizetype i = 0; i < costs.size(); ++i) Figures::PrintCost(what[i], costs[i]);
    const double bareUs = costs.takeAt(1).MedianUs;
    const auto slower = [](const Figures::Cost& a, const Figures::Cost& b) { return a.MedianUs < b.MedianUs; };
    const double slowestUs = std::max_element(costs.begin(), costs.end(), slower)->MedianUs;
    const bool asFast = Figures::PrintRatio(u"keystroke / bare pass"_s, costs[1].MedianUs / bareUs, 2.0);
    return Figures::PrintRatio(u"slowest keystroke / 100 ms"_s, slowestUs / 1e5, 1.0) && asFast && found > 0;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QPixmap picture(16, 16);
    picture.fill(Qt::blue);
    const QIcon image(picture);
    MeasureOnce<OwnTree>(image); // what both load once
    MeasureOnce<WidgetTree>(image);

    QList<Figure> own;
    QList<Figure> widget;
    for (int round = 0; round < Rounds; ++round) {
        own << MeasureOnce<OwnTree>(image);
        widget << MeasureOnce<WidgetTree>(image);
    }
    std::printf("%d controllers x %d items, root expanded, medians of %d\n", ControllerCount, ItemCount, Rounds);
    Print("object tree", own);
    Print("QTreeWidget", widget);
    const auto ratio = [&](double Figure::*which) { return Median(own, which) / Median(widget, which); };
    const bool kept[] = {
        Figures::PrintRatio(u"build / QTreeWidget"_s, ratio(&Figure::BuildMs), 0.5),
        Figures::PrintRatio(u"memory / QTreeWidget"_s, ratio(&Figure::BytesPerNode), 0.5),
        Figures::PrintRatio(u"memory a node / 200 bytes"_s, Median(own, &Figure::BytesPerNode) / 200, 1.0),
        Figures::PrintRatio(u"destroy / QTreeWidget"_s, ratio(&Figure::DestroyMs), 1.0),
        CompareLookup(),
        CompareFinding(),
    };
    return std::all_of(std::begin(kept), std::end(kept), [](bool one) { return one; }) ? 0 : 1;
}
