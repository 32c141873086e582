#include "trend/window/PictureView.h"

#include "core/Colours.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr double Near = 5; // pixels around a cursor
constexpr int MoveStarts = 4;
constexpr double ZoomStep = 1.25;
constexpr double PanStep = 0.1;
constexpr double NotchesPerUnit = 120;

} // namespace

PictureView::PictureView(QWidget* parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAcceptDrops(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(fontMetrics().averageCharWidth() * 30, fontMetrics().height() * 6);
}

void PictureView::SetSource(TrendData& data, ViewControl& control)
{
    m_Data = &data;
    m_Control = &control;
}

void PictureView::SetCurrent(std::optional<std::size_t> pen)
{
    if (std::exchange(m_Current, pen) != pen) update();
}

bool PictureView::IsTired(double share) const
{
    return m_SincePainted.isValid() && static_cast<double>(m_SincePainted.nsecsElapsed()) < share * m_PaintNs;
}

int PictureView::ColumnCount() const
{
    const double width = m_Layout.Field.width() > 0 ? m_Layout.Field.width() : QWidget::width();
    return std::max(1, static_cast<int>(width * devicePixelRatioF()));
}

QSize PictureView::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 100, fontMetrics().height() * 22};
}

void PictureView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const PictureColours colours(palette().color(QPalette::Base), palette().color(QPalette::Text));
    painter.fillRect(rect(), colours.Paper);
    if (!m_Data) return;
    QElapsedTimer time;
    time.start();
    std::vector<const Pen*> pens;
    for (const auto& pen : m_Data->Pens()) pens.push_back(pen.get());
    const auto current = m_Current && *m_Current < pens.size() ? m_Current : std::nullopt;
    m_Layout = m_Painter.Paint(painter, size(), {.Of = m_Control->Of(), .Pens = pens, .Current = current}, colours);
    PaintTrouble(painter);
    m_PaintNs = static_cast<double>(time.nsecsElapsed());
    m_SincePainted.start();
    if (!hasFocus()) return;
    painter.setPen(palette().color(QPalette::Highlight));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void PictureView::SetTrouble(const QString& trouble)
{
    if (std::exchange(m_Trouble, trouble) != trouble) update();
}

void PictureView::PaintTrouble(QPainter& painter) const
{
    if (m_Trouble.isEmpty()) return;
    const int margin = fontMetrics().height() / 3;
    const QRect room = m_Layout.Field.toRect().adjusted(2 * margin, 2 * margin, -2 * margin, -2 * margin);
    const int flags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;
    const QRect text = painter.boundingRect(room, flags, m_Trouble);
    painter.setPen(Colours::Error(palette()));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRect(text.adjusted(-margin, -margin, margin, margin));
    painter.drawText(text, flags, m_Trouble);
}

Micros PictureView::TimeAt(double x) const
{
    return m_Layout.Times().TimeAt(std::clamp(x - m_Layout.Field.left(), 0.0, m_Layout.Field.width()));
}

std::optional<std::size_t> PictureView::CursorNear(double x) const
{
    for (std::size_t i = 0; i < m_Control->Of().Cursors.size(); ++i) {
        const auto& cursor = m_Control->Of().Cursors[i];
        if (cursor && std::abs(m_Layout.Field.left() + m_Layout.Times().PixelOf(*cursor) - x) <= Near) return i;
    }
    return std::nullopt;
}

/// A click sets a cursor, with Ctrl the second one; a drag moves the picture, a cursor, marks a span (Shift) or is zoomed
/// into (Ctrl).
void PictureView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || m_Layout.Field.isEmpty()) return;
    m_PressedAt = event->position().x();
    m_HasMoved = false;
    m_SpanPressed = m_Control->Of().Shown;
    const auto cursor = CursorNear(m_PressedAt);
    if (cursor) m_Cursor = *cursor;
    if (event->modifiers() & Qt::ShiftModifier) m_Doing = Doing::Marking;
    else if (event->modifiers() & Qt::ControlModifier) m_Doing = Doing::Zooming;
    else m_Doing = cursor ? Doing::MovingCursor : Doing::Panning;
}

void PictureView::mouseMoveEvent(QMouseEvent* event)
{
    const double x = event->position().x();
    Q_EMIT Pointed(m_Layout.Field.contains(event->position()) ? std::optional(TimeAt(x)) : std::nullopt);
    if (m_Doing == Doing::Nothing) return setCursor(CursorNear(x) ? Qt::SplitHCursor : Qt::ArrowCursor);
    m_HasMoved = m_HasMoved || std::abs(x - m_PressedAt) >= MoveStarts;
    if (m_HasMoved) DragTo(x);
}

void PictureView::DragTo(double x)
{
    switch (m_Doing) {
    case Doing::Panning:
        setCursor(Qt::ClosedHandCursor);
        m_Control->Show(m_SpanPressed.Moved((m_PressedAt - x) / std::max(m_Layout.Field.width(), 1.0)));
        break;
    case Doing::Marking: m_Control->Mark(Span{TimeAt(m_PressedAt), TimeAt(x)}); break;
    case Doing::Zooming: ShowBand(x); break;
    case Doing::MovingCursor: m_Control->SetCursor(m_Cursor, TimeAt(x)); break;
    case Doing::Nothing: break;
    }
}

void PictureView::ShowBand(double x)
{
    const QRectF field = m_Layout.Field;
    const auto [left, right] = std::minmax(std::clamp(x, field.left(), field.right()), m_PressedAt);
    m_Band.setGeometry(QRectF(left, field.top(), right - left, field.height()).toRect());
    m_Band.show();
}

void PictureView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    const double x = event->position().x();
    const Doing done = std::exchange(m_Doing, Doing::Nothing);
    m_Band.hide();
    setCursor(Qt::ArrowCursor);
    if (m_HasMoved && done == Doing::Zooming) {
        const auto [from, to] = std::minmax(TimeAt(m_PressedAt), TimeAt(x));
        if (from < to) m_Control->Show({from, to});
    } else if (!m_HasMoved && done != Doing::Nothing && m_Layout.Field.contains(event->position())) {
        if (done == Doing::Marking) return m_Control->Mark(std::nullopt);
        m_Cursor = done == Doing::Zooming ? 1 : done == Doing::MovingCursor ? m_Cursor : 0;
        m_Control->SetCursor(m_Cursor, TimeAt(x));
    }
}

/// Zooms in where it was clicked; the click before has set a cursor there.
void PictureView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) m_Control->Zoom(1 / (ZoomStep * ZoomStep), TimeAt(event->position().x()));
}

void PictureView::wheelEvent(QWheelEvent* event)
{
    const QPoint delta = event->angleDelta();
    const bool pans = std::abs(delta.x()) > std::abs(delta.y()) || event->modifiers() & Qt::ShiftModifier;
    const double notches = (delta.x() != 0 && pans ? delta.x() : delta.y()) / NotchesPerUnit;
    if (pans) m_Control->Step(-notches * PanStep);
    else m_Control->Zoom(std::pow(ZoomStep, -notches), TimeAt(event->position().x()));
    event->accept();
}

void PictureView::leaveEvent(QEvent* event)
{
    Q_EMIT Pointed(std::nullopt);
    QWidget::leaveEvent(event);
}

void PictureView::keyPressEvent(QKeyEvent* event)
{
    if (MoveCursor(*event) || (event->modifiers() == Qt::NoModifier && PanOrZoom(event->key()))) return;
    const bool zooms = event->key() == Qt::Key_Plus || event->key() == Qt::Key_Minus; // with Shift on some keyboards
    if (!zooms || !PanOrZoom(event->key())) QWidget::keyPressEvent(event);
}

bool PictureView::PanOrZoom(int key)
{
    switch (key) {
    case Qt::Key_Left: m_Control->Step(-PanStep); return true;
    case Qt::Key_Right: m_Control->Step(PanStep); return true;
    case Qt::Key_Plus:
    case Qt::Key_Equal: m_Control->Zoom(1 / ZoomStep, m_Control->Middle()); return true;
    case Qt::Key_Minus: m_Control->Zoom(ZoomStep, m_Control->Middle()); return true;
    case Qt::Key_Up: Q_EMIT StepPen(-1); return true;
    case Qt::Key_Down: Q_EMIT StepPen(1); return true;
    default: return false;
    }
}

/// Ctrl+Left and Ctrl+Right move the cursor that was set last, with Shift ten times as far.
bool PictureView::MoveCursor(const QKeyEvent& key)
{
    constexpr int Far = 10;
    const bool isArrow = key.key() == Qt::Key_Left || key.key() == Qt::Key_Right;
    if (key.key() == Qt::Key_1 || key.key() == Qt::Key_2) {
        m_Cursor = key.key() == Qt::Key_1 ? 0 : 1;
        if (!m_Control->Of().Cursors[m_Cursor]) m_Control->MoveCursor(m_Cursor, 0, ColumnCount());
        return true;
    }
    if (!isArrow || !(key.modifiers() & Qt::ControlModifier)) return false;
    const int columns = key.modifiers() & Qt::ShiftModifier ? Far : 1;
    m_Control->MoveCursor(m_Cursor, key.key() == Qt::Key_Left ? -columns : columns, ColumnCount());
    return true;
}

void PictureView::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasText()) event->acceptProposedAction();
}

void PictureView::dropEvent(QDropEvent* event)
{
    Q_EMIT ItemsDropped(ItemsIn(event->mimeData()->text()));
    event->acceptProposedAction();
}
