#pragma once

#include <QElapsedTimer>
#include <QPoint>
#include <QPointer>
#include <QWidget>

#include <concepts>
#include <random>

/// An operator's hand on keyboard and mouse. What it does goes through the window system's queue, to the window that
/// has the focus, or to the one under the pointer; Qt decides what becomes of it. Anything may open or close meanwhile.
class ConsoleHand
{
public:
    explicit ConsoleHand(std::mt19937& random)
        : m_Random(random)
    {
    }

    /// 0 to `count` - 1.
    int Number(int count) { return static_cast<int>(m_Random() % static_cast<unsigned>(count)); }
    bool OneIn(int count) { return Number(count) == 0; }
    template <typename List>
    const auto& OneOf(const List& list)
    {
        return std::data(list)[Number(static_cast<int>(std::size(list)))];
    }
    /// Any control of that kind that can be seen and used now; null when there is none.
    template <std::derived_from<QWidget> Control>
    Control* AnyOf(const QWidget* window)
    {
        QList<Control*> usable;
        for (Control* control : window->findChildren<Control*>())
            if (control->isEnabled() && !control->visibleRegion().isEmpty()) usable << control;
        return usable.isEmpty() ? nullptr : OneOf(usable);
    }
    QPoint AnyPlaceIn(const QRect& area);

    /// The window that takes the input: a pop-up, else a modal dialog, else the active one, else the console's.
    static QWidget* Front();
    /// As a task bar does it.
    void GoTo(const QWidget& window);
    void GoToOtherWindow();
    /// What a window manager does when the window with the focus has closed, or waits behind a dialog.
    void FocusFront();
    void CloseFront();

    void Key(QKeyCombination key);
    void Key(Qt::Key key, int times);
    void Type(const QString& text);
    /// Somewhere on what can be seen of the control.
    void Click(QWidget& control, Qt::MouseButton button = Qt::LeftButton);
    void ClickAt(QWidget& control, const QPoint& place, Qt::MouseButton button = Qt::LeftButton);
    void DoubleClickAt(QWidget& control, const QPoint& place);
    void Drag(QWidget& control, const QPoint& from, const QPoint& by);
    void RestAt(QWidget& control, const QPoint& place);
    void Wheel(QWidget& control);
    /// Releases what was held when something opened under the hand.
    void LetGo();

    /// Whether a key or button is still being handled. Once it has been for some time, something has opened that waits
    /// for the hand: from then on it is free again.
    bool IsBusy();
    /// Nothing that the hand did is still being handled.
    bool IsIdle() const { return m_Depth == 0; }

private:
    class Move;
    void Mouse(void (*act)(QWindow*, const QPoint&), QWidget& control, const QPoint& place);

    std::mt19937& m_Random;
    QPointer<QWindow> m_HeldAt;
    QPoint m_HeldPlace;
    Qt::MouseButton m_Held = Qt::NoButton;
    QElapsedTimer m_SinceMoved;
    int m_Depth = 0;
    /// As deep as something waits for the hand.
    int m_Waiting = 0;
};
