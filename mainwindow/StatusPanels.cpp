#include "mainwindow/StatusPanels.h"

#include "mainwindow/StatusPanel.h"

#include <QStatusBar>

namespace {

StatusPanel* AddPanel(QStatusBar* bar, int number, const QString& caption, int stretch)
{
    auto* panel = new StatusPanel(bar);
    panel->setObjectName(QStringLiteral("stbrMain_%1").arg(number));
    panel->setText(caption);
    panel->setAccessibleDescription(caption);
    bar->addPermanentWidget(panel, stretch);
    return panel;
}

} // namespace

StatusPanels::StatusPanels(QStatusBar* stbrMain)
    : m_Status(AddPanel(stbrMain, 1, QStringLiteral("Status"), 6))
    , m_Object(AddPanel(stbrMain, 2, QStringLiteral("Object"), 3))
    , m_Count(AddPanel(stbrMain, 3, QStringLiteral("Count"), 1))
{
}

void StatusPanels::SetStatus(const QString& text)
{
    m_Status->setText(text);
}

void StatusPanels::PaintStatus()
{
    m_Status->repaint();
}

void StatusPanels::ShowNode(const TreeNodeRef& node, const QIcon& image)
{
    m_Object->setText(node->Text());
    m_Object->SetImage(image);
    m_Count->setText(QString::number(node->ChildCount()));
}
