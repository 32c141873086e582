#include "core/WindowPlace.h"

#include <QBoxLayout>
#include <QDialog>
#include <QScreen>
#include <QScrollArea>

#include <algorithm>
#include <limits>

namespace {

/// Only the edges of so many windows in front are tried, so that opening hundreds of windows stays quick.
constexpr int MostEdges = 16;
/// A title is what a covered window is found and moved by.
constexpr qint64 TitleWeight = 4;
/// A window that nothing is seen of any more is found by Ctrl+Tab only: more than any other loss.
constexpr qint64 LossOfAll = 1 << 30;

qint64 Area(const QRect& rect)
{
    return rect.isEmpty() ? 0 : qint64(rect.width()) * rect.height();
}

/// How much is lost of one window behind another.
qint64 Loss(const QRect& window, int titleHeight, const QRect& front)
{
    const QRect covered = window & front;
    if (covered.isEmpty()) return 0;
    const QRect title(window.topLeft(), QSize(window.width(), titleHeight));
    const bool isGone =
        window.width() - covered.width() < titleHeight && window.height() - covered.height() < titleHeight;
    return Area(covered) + TitleWeight * Area(title & front) + (isGone ? LossOfAll : 0);
}

/// The sum over all windows; what exceeds `limit` is not counted to its end.
qint64 Loss(const WindowRoom& room, const QRect& front, qint64 limit)
{
    qint64 loss = 0;
    for (const QRect& window : room.Taken) {
        loss += Loss(window, room.TitleHeight, front);
        if (loss >= limit) break;
    }
    return loss;
}

/// Where a new window may begin on one axis: at the ends of the room, at either end of a window, a step behind its
/// beginning. What fills the room but for less than a step begins where the room does.
struct Beginnings
{
    Beginnings(int room, int length, int step)
        : Last(room - length < step ? 0 : room - length)
        , Length(length)
        , Step(step)
        , Places{0, Last}
    {
    }

    void AddBeside(int begin, int end)
    {
        for (const int place : {begin, begin + Step, begin - Length, end})
            if (place > 0 && place < Last) Places << place;
    }

    const QList<int>& Sorted()
    {
        std::sort(Places.begin(), Places.end());
        Places.erase(std::unique(Places.begin(), Places.end()), Places.end());
        return Places;
    }

    int Last;
    int Length;
    int Step;
    QList<int> Places;
};

} // namespace

QPoint LeastCoveringPlace(const WindowRoom& room, const QSize& size)
{
    Beginnings lefts(room.Size.width(), size.width(), room.TitleHeight);
    Beginnings tops(room.Size.height(), size.height(), room.TitleHeight);
    for (const QRect& window : room.Taken.first(std::min<qsizetype>(room.Taken.size(), MostEdges))) {
        lefts.AddBeside(window.left(), window.right() + 1);
        tops.AddBeside(window.top(), window.bottom() + 1);
    }
    QPoint best;
    qint64 least = std::numeric_limits<qint64>::max();
    for (const int top : tops.Sorted()) {
        for (const int left : lefts.Sorted()) {
            const qint64 loss = Loss(room, QRect(QPoint(left, top), size), least);
            if (loss >= least) continue;
            best = {left, top};
            least = loss;
        }
    }
    return best;
}

namespace {

/// Its controls keep their sizes and are scrolled.
void PutIntoScrollArea(QDialog& dialog)
{
    QWidget* focus = dialog.focusWidget();
    auto* contents = new QWidget;
    contents->setLayout(dialog.layout()); // takes over the controls as well
    auto* area = new QScrollArea(&dialog);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus); // the Tab key scrolls to the next control
    area->setWidgetResizable(true);
    area->setWidget(contents);
    auto* around = new QVBoxLayout(&dialog);
    around->setContentsMargins({});
    around->addWidget(area);
    if (focus) focus->setFocus();
}

} // namespace

void SetFirstSize(QWidget& window, const QSize& wanted)
{
    const QFontMetrics letter = window.fontMetrics();
    const QSize frame(2 * letter.averageCharWidth(), 3 * letter.height()); // of the window manager
    const QWidget* placed = window.parentWidget() ? window.parentWidget() : &window;
    const QSize room = placed->screen()->availableSize() - frame;
    auto* dialog = qobject_cast<QDialog*>(&window);
    if (dialog && dialog->minimumSizeHint().boundedTo(room) != dialog->minimumSizeHint()) PutIntoScrollArea(*dialog);
    window.resize(wanted.boundedTo(room));
}
