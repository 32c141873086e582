#include "mainwindow/LinkBand.h"

#include "core/Colours.h"

#include <QLayout>
#include <QMainWindow>
#include <QPainter>
#include <QToolBar>

namespace {

constexpr int LookMs = 250;
constexpr int Margin = 6;

} // namespace

LinkBand::LinkBand(QMainWindow& window, std::function<State()> read)
    : m_Read(std::move(read))
{
    setObjectName(QStringLiteral("picLink"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    auto* bar = new QToolBar(&window);
    bar->setObjectName(QStringLiteral("tlbarLink"));
    bar->setMovable(false);
    bar->layout()->setContentsMargins(0, 0, 0, 0);
    bar->addWidget(this);
    window.addToolBarBreak();
    window.addToolBar(bar);
    connect(&m_Look, &QTimer::timeout, this, &LinkBand::Look);
    m_Look.start(LookMs);
    Look();
}

QString LinkBand::Text() const
{
    if (!m_State.IsUp)
        return QStringLiteral("The server on %1 cannot be reached: %2").arg(m_State.Place, m_State.Trouble);
    const QString place = QStringLiteral("Server on %1").arg(m_State.Place);
    return m_State.Trouble.isEmpty() ? place : QStringLiteral("%1. %2").arg(place, m_State.Trouble);
}

QSize LinkBand::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(Text()) + 2 * Margin, fontMetrics().height() + Margin};
}

QSize LinkBand::minimumSizeHint() const
{
    return {0, sizeHint().height()};
}

void LinkBand::Look()
{
    const State now = m_Read();
    if (now == m_State) return;
    m_State = now;
    setAccessibleName(Text());
    setToolTip(QStringLiteral("<qt>%1</qt>").arg(Text().toHtmlEscaped())); // wraps, and is still plain text
    update();
}

QColor LinkBand::Background() const
{
    if (!m_State.IsUp) return Colours::OnBase(palette(), QColor(0xd3, 0x2f, 0x2f), 0.45);
    const QColor ink = m_State.Trouble.isEmpty() ? QColor(0x1e, 0x88, 0xe5) : QColor(0xff, 0xa0, 0x00);
    return Colours::OnBase(palette(), ink, 0.3);
}

void LinkBand::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Background());
    painter.setPen(palette().color(QPalette::Text));
    const QRect inside = rect().adjusted(Margin, 0, -Margin, 0);
    const QString text = fontMetrics().elidedText(Text(), Qt::ElideRight, inside.width());
    painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
}
