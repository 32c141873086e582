#include "mainwindow/ErrorMark.h"

#include "core/Colours.h"
#include "core/LogPane.h"

#include <QKeyEvent>
#include <QMdiArea>
#include <QPainter>

namespace {

/// Easy to hit, and lower than the margin below the controls of a window that fills the area.
constexpr int Thickness = 7;

} // namespace

/// A child of the area, not of what it scrolls: it stays in front of the windows and beside the scroll bars.
ErrorMark::ErrorMark(LogPane* log, QMdiArea* children)
    : QAbstractButton(children)
    , m_Log(log)
    , m_Children(children)
{
    setObjectName(QStringLiteral("cmdErrors"));
    setFocusPolicy(Qt::TabFocus); // pressing it leaves the focus where it is
    setCursor(Qt::PointingHandCursor);
    hide();
    log->installEventFilter(this);
    children->viewport()->installEventFilter(this);
    connect(log, &LogPane::ErrorAppended, this, &ErrorMark::CountError);
    connect(log, &LogPane::textChanged, this, [this] {
        if (m_Count > 0 && m_Log->document()->isEmpty()) SetCount(0);
    });
}

bool ErrorMark::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_Log && event->type() == QEvent::ShowToParent) SetCount(0);
    // The area is not asked for anything before that: its viewport sends events while it is being deleted, too.
    const bool isPlaced = event->type() == QEvent::Resize || event->type() == QEvent::Move;
    if (watched != m_Log && isPlaced) Place();
    return false;
}

void ErrorMark::CountError()
{
    if (m_Log->isHidden()) SetCount(m_Count + 1);
}

void ErrorMark::SetCount(int count)
{
    if (std::exchange(m_Count, count) == count) return;
    const QString text = (count == 1 ? QStringLiteral("1 error") : QStringLiteral("%1 errors").arg(count)) +
                         QStringLiteral(" in the log since it was hidden");
    setToolTip(text);
    setAccessibleName(text);
    if (count > 0) Place();
    setVisible(count > 0);
}

void ErrorMark::Place()
{
    const QRect area = m_Children->viewport()->geometry();
    setGeometry(area.left(), area.bottom() + 1 - Thickness, area.width(), Thickness);
    raise();
}

void ErrorMark::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) click();
    else QAbstractButton::keyPressEvent(event);
}

void ErrorMark::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Colours::Error(palette()));
    if (!hasFocus()) return;
    painter.setPen(QPen(palette().color(QPalette::Base), 1, Qt::DotLine));
    painter.drawRect(rect().adjusted(2, 2, -3, -3));
}
