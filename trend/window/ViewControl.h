#pragma once

#include "trend/core/View.h"

#include <QObject>

/// What is shown, and what the operator does to it: whatever moves the picture goes through here.
class ViewControl : public QObject
{
    Q_OBJECT

public:
    explicit ViewControl(QObject* parent = nullptr)
        : QObject(parent)
    {
        m_View.Shown = {0, 3600 * MicrosASecond};
    }

    const View& Of() const { return m_View; }
    void SetView(const View& view);

    /// While the view follows, its right edge is now; it moves by whole columns of pixels, so that these do not flicker.
    void GoWith(Micros now, int width);
    void Follow(bool follows);
    void Show(const Span& span);
    /// So much time, ending now, or around the middle of what is shown.
    void ShowLength(Micros length);
    /// By a part of the length; back when it is negative. The view stays where it is from then on, unless it reaches now.
    void Step(double part);
    /// `factor` times as long. While it follows, the right edge stays, else `fixed`.
    void Zoom(double factor, Micros fixed);
    Micros Middle() const { return m_View.Shown.From + m_View.Shown.Length() / 2; }

    /// `cursor` is 0 or 1.
    void SetCursor(std::size_t cursor, std::optional<Micros> time);
    /// By columns of pixels of a picture so wide; sets it in the middle if there is none.
    void MoveCursor(std::size_t cursor, int columns, int width);
    void Mark(const std::optional<Span>& span);
    void ZoomToMarked();
    void ClearMeasuring();

Q_SIGNALS:
    void Changed();

private:
    void Set(View view);

    View m_View;
    Micros m_Now = 0;
};
