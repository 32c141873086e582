#include "mainwindow/StatusPanels.h"

#include "core/DisplayText.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStatusBar>
#include <QStyle>
#include <QToolTip>

namespace {

constexpr int Gap = 4;

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

StatusPanel::StatusPanel(QWidget* parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
}

void StatusPanel::SetImage(const QIcon& image)
{
    m_Image = image;
    update();
}

QSize StatusPanel::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 16, minimumSizeHint().height()};
}

QSize StatusPanel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 6, fontMetrics().height() + 2 * frameWidth() + Gap};
}

bool StatusPanel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip) return QLabel::event(event);
    const bool isShortened = ShownText() != text();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), isShortened ? ToolTipHtml(text()) : QString(),
                       this);
    return true;
}

void StatusPanel::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    const QRect place = contentsRect().adjusted(Gap, 0, -Gap, 0);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_Image.paint(&painter, place.left(), place.top(), size, place.height());
    painter.drawText(TextPlace(), Qt::AlignVCenter | Qt::TextSingleLine, ShownText());
}

QRect StatusPanel::TextPlace() const
{
    const int image = m_Image.isNull() ? 0 : style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this) + Gap;
    return contentsRect().adjusted(Gap + image, 0, -Gap, 0);
}

QString StatusPanel::ShownText() const
{
    return fontMetrics().elidedText(OneLine(text()), Qt::ElideRight, TextPlace().width());
}

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
