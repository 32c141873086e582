#include "trend/window/PictureView.h"

#include "core/Colours.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr int MoveStarts = 4;
constexpr double ZoomStep = 1.25;
constexpr double PanStep = 0.1;
constexpr double NotchesPerUnit = 120;

/// To a screen reader a picture, not just anything.
QAccessibleInterface* MakeAccessible(const QString& name, QObject* object)
{
    auto* const view = name == QLatin1String("PictureView") ? qobject_cast<PictureView*>(object) : nullptr;
    return view ? new QAccessibleWidget(view, QAccessible::Graphic) : nullptr;
}

} // namespace

PictureView::PictureView(QWidget* parent)
    : QWidget(parent)
{
    QAccessible::installFactory(MakeAccessible);
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
    const std::vector<const Pen*> pens = AllPens();
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
    // Where the painter does not write its notes.
    const bool hasPlot = !m_Layout.Plot.isEmpty();
    const QRect place = (hasPlot ? m_Layout.Plot : m_Layout.Field).toRect();
    const QRect room = place.adjusted(2 * margin, 2 * margin, -2 * margin, -2 * margin);
    const int flags = Qt::AlignLeft | (hasPlot ? Qt::AlignBottom : Qt::AlignTop) | Qt::TextWordWrap;
    const QRect text = painter.boundingRect(room, flags, m_Trouble);
    painter.setPen(Colours::Error(palette()));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRect(text.adjusted(-margin, -margin, margin, margin));
    painter.drawText(text, flags, m_Trouble);
    painter.setBrush(Qt::NoBrush);
}

Micros PictureView::TimeAt(double x) const
{
    const Micros time = m_Layout.Times().TimeAt(std::clamp(x - m_Layout.Field.left(), 0.0, m_Layout.Field.width()));
    // No more digits than pixels tell apart.
    Micros round = 1;
    while (round * 10 * ColumnCount() <= m_Layout.Shown.Length()) round *= 10;
    return (time + round / 2) / round * round;
}

std::vector<const Pen*> PictureView::AllPens() const
{
    std::vector<const Pen*> pens;
    for (const auto& pen : m_Data->Pens()) pens.push_back(pen.get());
    return pens;
}

PictureHit PictureView::HitAt(const QPointF& point) const
{
    const std::vector<const Pen*> pens = AllPens();
    return ::HitAt(m_Layout, {.Of = m_Control->Of(), .Pens = pens}, point);
}

/// A click sets a cursor, with Ctrl the second one; a drag moves what it has taken hold of, else the picture, or it marks
/// a span (Shift), or is zoomed into (Ctrl).
PictureView::Doing PictureView::DoingFor(const QMouseEvent& press)
{
    if (press.modifiers() & Qt::ShiftModifier) return Doing::Marking;
    if (press.modifiers() & Qt::ControlModifier) return Doing::Zooming;
    switch (m_Held.What) {
    case PictureHit::Part::Cursor: m_Cursor = m_Held.Number; return Doing::MovingCursor;
    case PictureHit::Part::MarkedEdge: return Doing::MovingEdge;
    case PictureHit::Part::Limit: return Doing::MovingLimit;
    default: return Doing::Panning;
    }
}

void PictureView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || m_Layout.Field.isEmpty()) return;
    m_PressedAt = event->position().x();
    m_HasMoved = false;
    m_SpanPressed = m_Control->Of().Shown;
    m_Held = HitAt(event->position());
    m_Doing = DoingFor(*event);
}

void PictureView::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    Q_EMIT Pointed(m_Layout.Field.contains(point) ? std::optional(TimeAt(point.x())) : std::nullopt);
    if (m_Doing == Doing::Nothing) {
        const PictureHit::Part part = HitAt(point).What;
        const bool isEdge = part == PictureHit::Part::Cursor || part == PictureHit::Part::MarkedEdge;
        return setCursor(isEdge                            ? Qt::SplitHCursor
                         : part == PictureHit::Part::Limit ? Qt::SplitVCursor
                                                           : Qt::ArrowCursor);
    }
    m_HasMoved = m_HasMoved || std::abs(point.x() - m_PressedAt) >= MoveStarts || m_Doing == Doing::MovingLimit;
    if (m_HasMoved) DragTo(point);
}

void PictureView::DragTo(const QPointF& point)
{
    const double x = point.x();
    switch (m_Doing) {
    case Doing::Panning:
        setCursor(Qt::ClosedHandCursor);
        m_Control->Show(m_SpanPressed.Moved((m_PressedAt - x) / std::max(m_Layout.Field.width(), 1.0)));
        break;
    case Doing::Marking: m_Control->Mark(Span{TimeAt(m_PressedAt), TimeAt(x)}); break;
    case Doing::Zooming: ShowBand(x); break;
    case Doing::MovingCursor: m_Control->SetCursor(m_Cursor, TimeAt(x)); break;
    case Doing::MovingEdge:
        if (const auto& marked = m_Control->Of().Marked) {
            const Span moved = m_Held.Number == 0 ? Span{TimeAt(x), marked->To} : Span{marked->From, TimeAt(x)};
            if (moved.From < moved.To) m_Control->Mark(moved);
        }
        break;
    case Doing::MovingLimit:
        if (const auto value = ValueAt(m_Layout, m_Held.Pen, point.y()))
            Q_EMIT LimitMoved(m_Held.Pen, m_Held.Number, *value);
        break;
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
    const Doing done = std::exchange(m_Doing, Doing::Nothing);
    m_Band.hide();
    setCursor(Qt::ArrowCursor);
    if (!m_HasMoved) return Click(event->position(), done);
    if (done != Doing::Zooming) return;
    const auto [from, to] = std::minmax(TimeAt(m_PressedAt), TimeAt(event->position().x()));
    if (from < to) m_Control->Show({from, to});
}

void PictureView::Click(const QPointF& point, Doing done)
{
    if (done == Doing::Nothing || !m_Layout.Field.contains(point)) return;
    if (done == Doing::Marking) return m_Control->Mark(std::nullopt);
    const std::vector<const Pen*> pens = AllPens();
    if (const auto pen = PenAt(m_Layout, {.Of = m_Control->Of(), .Pens = pens}, point)) Q_EMIT PenPicked(*pen);
    if (done != Doing::Panning && done != Doing::Zooming) return;
    m_Cursor = done == Doing::Zooming ? 1 : 0;
    m_Control->SetCursor(m_Cursor, TimeAt(point.x()));
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
