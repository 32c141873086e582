#include "trend/window/ViewControl.h"

#include <algorithm>

void ViewControl::Set(View view)
{
    view.Shown = view.Shown.Bounded();
    if (view == m_View) return;
    m_View = view;
    Q_EMIT Changed();
}

void ViewControl::SetView(const View& view)
{
    Set(view);
}

void ViewControl::GoWith(Micros now, int width)
{
    m_Now = now;
    if (!m_View.IsFollowing) return;
    const Micros column = std::max<Micros>(m_View.Shown.Length() / std::max(width, 1), 1);
    View view = m_View;
    view.Shown = view.Shown.EndingAt((now / column + 1) * column);
    Set(view);
}

void ViewControl::Follow(bool follows)
{
    View view = m_View;
    view.IsFollowing = follows;
    if (follows) view.Shown = view.Shown.EndingAt(m_Now);
    Set(view);
}

void ViewControl::Show(const Span& span)
{
    View view = m_View;
    view.Shown = span;
    view.IsFollowing = false;
    Set(view);
}

void ViewControl::ShowLength(Micros length)
{
    View view = m_View;
    const Micros end = view.IsFollowing ? view.Shown.To : Middle() + length / 2;
    view.Shown = {end - length, end};
    Set(view);
}

void ViewControl::Step(double part)
{
    View view = m_View;
    view.Shown = view.Shown.Moved(part);
    view.IsFollowing = part > 0 && (m_View.IsFollowing || view.Shown.To >= m_Now);
    if (view.IsFollowing) view.Shown = view.Shown.EndingAt(m_Now);
    Set(view);
}

void ViewControl::Zoom(double factor, Micros fixed)
{
    View view = m_View;
    view.Shown = view.Shown.Zoomed(factor, view.IsFollowing ? view.Shown.To : fixed);
    Set(view);
}

void ViewControl::SetCursor(std::size_t cursor, std::optional<Micros> time)
{
    View view = m_View;
    view.Cursors.at(cursor) = time;
    Set(view);
}

void ViewControl::MoveCursor(std::size_t cursor, int columns, int width)
{
    const Micros column = std::max<Micros>(m_View.Shown.Length() / std::max(width, 1), 1);
    const auto& at = m_View.Cursors.at(cursor);
    SetCursor(cursor, at ? std::clamp(*at + columns * column, m_View.Shown.From, m_View.Shown.To) : Middle());
}

void ViewControl::Mark(const std::optional<Span>& span)
{
    View view = m_View;
    view.Marked = span;
    if (span && span->From > span->To) view.Marked = Span{span->To, span->From};
    Set(view);
}

void ViewControl::ZoomToMarked()
{
    if (m_View.Marked) Show(*m_View.Marked);
}

void ViewControl::ClearMeasuring()
{
    View view = m_View;
    view.Cursors = {};
    view.Marked.reset();
    Set(view);
}
