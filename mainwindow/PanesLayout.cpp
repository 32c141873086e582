#include "mainwindow/PanesLayout.h"

#include "mainwindow/DragBar.h"

#include <QEvent>
#include <QMdiArea>

#include <algorithm>
#include <limits>

namespace {

/// The upper limit of the bar above the log, so that the label above the tree stays visible.
constexpr int MinHBarTop = 262;
/// One row in the windows' font; twips scale with it.
constexpr int TwipsOfRow = 255;

} // namespace

PanesLayout::PanesLayout(const Panes& panes)
    : QObject(panes.Frame)
    , m_Panes(panes)
    , m_TreeWidth(std::min(panes.Frame->fontMetrics().averageCharWidth() * 40, panes.Frame->window()->width() / 3))
    , m_LogHeight(std::min(panes.Frame->fontMetrics().height() * 9, panes.Frame->window()->height() / 5))
{
    connect(panes.VBar, &DragBar::MouseMove, this, &PanesLayout::picVBar_MouseMove);
    connect(panes.HBar, &DragBar::MouseMove, this, &PanesLayout::picHBar_MouseMove);
    panes.Frame->installEventFilter(this);
}

bool PanesLayout::eventFilter(QObject*, QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        Place();
    // Otherwise it keeps the colour of the palette that it was made with.
    if (event->type() == QEvent::PaletteChange)
        m_Panes.Children->setBackground(m_Panes.Frame->palette().brush(QPalette::Dark));
    return false;
}

void PanesLayout::ShowObjectPane(bool show)
{
    for (QWidget* part : {m_Panes.ObjectLabel, m_Panes.Tree, static_cast<QWidget*>(m_Panes.VBar)})
        part->setVisible(show);
    Place();
}

void PanesLayout::ShowLogPane(bool show)
{
    for (QWidget* part : {m_Panes.LogLabel, m_Panes.Log, static_cast<QWidget*>(m_Panes.HBar)}) part->setVisible(show);
    Place();
}

void PanesLayout::picVBar_MouseMove(const QPoint& position)
{
    const int rightmost = std::max(0, m_Panes.Frame->width() - m_Panes.VBar->width());
    m_TreeWidth = std::clamp(m_Panes.VBar->x() + position.x(), 0, rightmost);
    Place();
}

void PanesLayout::picHBar_MouseMove(const QPoint& position)
{
    constexpr int Max = std::numeric_limits<qint16>::max();
    const int top = PixelsToTwips(m_Panes.HBar->y()) + PixelsToTwips(position.y());
    const int bottom = m_Panes.Frame->height() - m_Panes.HBar->height();
    m_LogHeight = std::max(0, bottom - TwipsToPixels(std::clamp(top, MinHBarTop, Max)));
    Place();
}

void PanesLayout::Place()
{
    PlaceAboveLog(PlaceLog());
}

int PanesLayout::PlaceLog()
{
    const QSize size = m_Panes.Frame->size();
    if (m_Panes.Log->isHidden()) return size.height();
    const int bar = m_Panes.HBar->Thickness();
    const int top = std::max(size.height() - m_LogHeight - bar, TwipsToPixels(MinHBarTop));
    m_Panes.HBar->setGeometry(0, top, size.width(), bar);
    m_Panes.LogLabel->setGeometry(0, top + bar, size.width(), LabelHeight());
    const int logTop = top + bar + LabelHeight();
    m_Panes.Log->setGeometry(0, logTop, size.width(), std::max(0, size.height() - logTop));
    return top;
}

void PanesLayout::PlaceAboveLog(int height)
{
    int left = 0;
    const int width = m_Panes.Frame->width();
    if (!m_Panes.Tree->isHidden()) {
        const int bar = m_Panes.VBar->Thickness();
        const int treeWidth = std::clamp(m_TreeWidth, 0, std::max(0, width - bar));
        m_Panes.ObjectLabel->setGeometry(0, 0, treeWidth, LabelHeight());
        m_Panes.Tree->setGeometry(0, LabelHeight(), treeWidth, std::max(0, height - LabelHeight()));
        m_Panes.VBar->setGeometry(treeWidth, 0, bar, height);
        left = treeWidth + bar;
    }
    m_Panes.Children->setGeometry(left, 0, std::max(0, width - left), height);
}

int PanesLayout::TwipsToPixels(int twips) const
{
    const int row = m_Panes.Frame->fontMetrics().height();
    return (twips * row + TwipsOfRow / 2) / TwipsOfRow;
}

int PanesLayout::PixelsToTwips(int pixels) const
{
    return pixels * TwipsOfRow / m_Panes.Frame->fontMetrics().height();
}

int PanesLayout::LabelHeight() const
{
    return m_Panes.ObjectLabel->fontMetrics().height() + 4;
}
