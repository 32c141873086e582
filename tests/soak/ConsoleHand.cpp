#include "tests/soak/ConsoleHand.h"

#include "core/MainWindow.h"
#include "core/modMain.h"
#include "tests/support/ConsoleTest.h"

#include <QApplication>
#include <QTest>
#include <QWindow>

namespace {

/// So long no key or click is handled, unless by something that waits.
constexpr int LongestMs = 60;

QWindow* WindowOf(const QWidget& control)
{
    return control.window()->windowHandle();
}

/// What the key writes.
QString TextOf(QKeyCombination key)
{
    constexpr std::pair<Qt::Key, char16_t> Controls[] = {
        {Qt::Key_Return, u'\r'},   {Qt::Key_Tab, u'\t'},      {Qt::Key_Backspace, u'\b'},
        {Qt::Key_Escape, u'\x1b'}, {Qt::Key_Delete, u'\x7f'},
    };
    for (const auto& [control, text] : Controls)
        if (key.key() == control) return QString(QChar(text));
    const bool isLetter = key.key() < 0x80 && !(key.keyboardModifiers() & ~Qt::KeyboardModifiers(Qt::ShiftModifier));
    return isLetter ? QString(QChar(key.key())).toLower() : QString();
}

} // namespace

/// From a key or button until it has been handled, with all that was opened by it.
class ConsoleHand::Move
{
public:
    explicit Move(ConsoleHand& hand)
        : m_Hand(hand)
    {
        ++m_Hand.m_Depth;
        m_Hand.m_SinceMoved.start();
    }
    ~Move()
    {
        --m_Hand.m_Depth;
        m_Hand.m_Waiting = std::min(m_Hand.m_Waiting, m_Hand.m_Depth);
    }
    Move(const Move&) = delete;
    Move& operator=(const Move&) = delete;

private:
    ConsoleHand& m_Hand;
};

bool ConsoleHand::IsBusy()
{
    if (m_Depth > m_Waiting && m_SinceMoved.elapsed() >= LongestMs) m_Waiting = m_Depth;
    return m_Depth > m_Waiting;
}

QPoint ConsoleHand::AnyPlaceIn(const QRect& area)
{
    return area.topLeft() + QPoint(Number(std::max(area.width(), 1)), Number(std::max(area.height(), 1)));
}

QWidget* ConsoleHand::Front()
{
    if (QWidget* popup = QApplication::activePopupWidget()) return popup;
    if (QWidget* dialog = QApplication::activeModalWidget()) return dialog;
    QWidget* active = QApplication::activeWindow();
    return active && active->isVisible() ? active : modMain::GetMainWindow()->Widget();
}

void ConsoleHand::GoTo(const QWidget& window)
{
    const Move move(*this);
    window.windowHandle()->requestActivate();
    QCoreApplication::processEvents();
}

void ConsoleHand::GoToOtherWindow()
{
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget* window) {
        return !window->isVisible() || (window->windowType() != Qt::Window && window->windowType() != Qt::Dialog);
    });
    if (!windows.isEmpty()) GoTo(*OneOf(windows));
}

void ConsoleHand::FocusFront()
{
    const QWindow* focus = QGuiApplication::focusWindow();
    const QWidget* dialog = QApplication::activeModalWidget();
    const auto standsBefore = [dialog](const QWindow* window) {
        return window == dialog->windowHandle() || window->transientParent() == dialog->windowHandle();
    };
    const bool isLost = !focus || !focus->isVisible() || (dialog && !standsBefore(focus));
    if (isLost && Front()->isVisible()) GoTo(*Front()->window());
}

void ConsoleHand::CloseFront()
{
    const Move move(*this);
    Front()->window()->windowHandle()->close();
}

void ConsoleHand::Key(QKeyCombination key)
{
    const Move move(*this);
    if (QWindow* window = QGuiApplication::focusWindow())
        QTest::sendKeyEvent(QTest::Click, window, key.key(), TextOf(key), key.keyboardModifiers());
}

void ConsoleHand::Key(Qt::Key key, int times)
{
    for (int i = 0; i < times; ++i) Key(QKeyCombination(key));
}

void ConsoleHand::Type(const QString& text)
{
    for (const QChar letter : text) {
        const Move move(*this);
        QWindow* window = QGuiApplication::focusWindow();
        if (!window) return;
        const auto key = letter == u'\n' ? Qt::Key_Return : static_cast<Qt::Key>(letter.toUpper().unicode());
        QTest::sendKeyEvent(QTest::Click, window, key, QString(letter), Qt::NoModifier);
    }
}

void ConsoleHand::Mouse(void (*act)(QWindow*, const QPoint&), QWidget& control, const QPoint& place)
{
    QWindow* window = WindowOf(control);
    if (!window) return;
    const Move move(*this);
    const QPoint inWindow = control.mapTo(control.window(), place);
    const QRect inside(QPoint(1, 1), window->size() - QSize(2, 2));
    act(window, {std::clamp(inWindow.x(), inside.left(), inside.right()),
                 std::clamp(inWindow.y(), inside.top(), inside.bottom())});
}

void ConsoleHand::Click(QWidget& control, Qt::MouseButton button)
{
    ClickAt(control, AnyPlaceIn(control.visibleRegion().boundingRect()), button);
}

void ConsoleHand::ClickAt(QWidget& control, const QPoint& place, Qt::MouseButton button)
{
    if (button == Qt::LeftButton)
        Mouse([](QWindow* window, const QPoint& at) { QTest::mouseClick(window, Qt::LeftButton, {}, at); }, control,
              place);
    else
        Mouse([](QWindow* window, const QPoint& at) { QTest::mouseClick(window, Qt::RightButton, {}, at); }, control,
              place);
}

void ConsoleHand::DoubleClickAt(QWidget& control, const QPoint& place)
{
    Mouse([](QWindow* window, const QPoint& at) { QTest::mouseDClick(window, Qt::LeftButton, {}, at); }, control,
          place);
}

void ConsoleHand::RestAt(QWidget& control, const QPoint& place)
{
    Mouse([](QWindow* window, const QPoint& at) { QTest::mouseMove(window, at); }, control, place);
}

void ConsoleHand::Wheel(QWidget& control)
{
    const Move move(*this);
    TurnWheel(control);
    QCoreApplication::processEvents();
}

void ConsoleHand::Drag(QWidget& control, const QPoint& from, const QPoint& by)
{
    constexpr int Steps = 6;
    const QPointer<QWidget> held = &control;
    m_HeldAt = WindowOf(control);
    m_HeldPlace = control.mapTo(control.window(), from);
    m_Held = Qt::LeftButton;
    Mouse([](QWindow* window, const QPoint& at) { QTest::mousePress(window, Qt::LeftButton, {}, at); }, control, from);
    for (int step = 1; step <= Steps && held && m_Held != Qt::NoButton; ++step) RestAt(*held, from + by * step / Steps);
    LetGo();
}

void ConsoleHand::LetGo()
{
    if (std::exchange(m_Held, Qt::NoButton) == Qt::NoButton) return;
    QWindow* window = m_HeldAt ? m_HeldAt.data() : WindowOf(*Front());
    if (!window) return;
    const Move move(*this);
    QTest::mouseRelease(window, Qt::LeftButton, {}, m_HeldPlace);
}
