#include "controller/EventList.h"

#include "controller/EventLines.h"
#include "core/automation/Errors.h"
#include "core/OneLineDelegate.h"
#include "core/Platform.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>

namespace {

constexpr int FewestLinesSeen = 8;

int LineHeight(const QFontMetrics& font)
{
    return font.height() + 2;
}

/// Paints a line on one row, cut to what fits; the tool tip shows the rest.
class LineDelegate : public OneLineDelegate
{
public:
    using OneLineDelegate::OneLineDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override
    {
        return QSize(1, LineHeight(option.fontMetrics));
    }
};

} // namespace

EventList::EventList(QWidget* parent)
    : QListView(parent)
    , m_Lines(new EventLines(this))
{
    setModel(m_Lines);
    setItemDelegate(new LineDelegate(this));
    setUniformItemSizes(true);
    setEditTriggers(NoEditTriggers);
    m_NextFrame.setSingleShot(true);
    m_NextFrame.setInterval(FrameMs);
    connect(&m_NextFrame, &QTimer::timeout, this, &EventList::ShowLastLine);
}

void EventList::AddLine(const QString& line)
{
    if (m_Lines->Count() >= MostLines || m_Lines->Characters() + line.size() > MostCharacters)
        throw ValueError::Overflow();
    m_Lines->Append(line);
    if (!m_NextFrame.isActive()) m_NextFrame.start();
}

void EventList::Clear()
{
    m_NextFrame.stop();
    m_Lines->Clear();
}

int EventList::ListCount() const
{
    return static_cast<int>(m_Lines->Count());
}

QString EventList::List(int index) const
{
    if (index < 0 || index >= ListCount()) throw ValueError::SubscriptOutOfRange();
    return m_Lines->Line(index);
}

void EventList::CopyAll() const
{
    if (ListCount() > 0) QGuiApplication::clipboard()->setText(m_Lines->Text());
}

void EventList::selectAll()
{
    if (ListCount() == 0) return;
    m_Lines->Announce();
    const QItemSelection all(m_Lines->index(0), m_Lines->index(ListCount() - 1));
    selectionModel()->select(all, QItemSelectionModel::ClearAndSelect);
}

void EventList::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) CopyAll();
    else QListView::keyPressEvent(event);
}

void EventList::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // The line that is current now: events go on selecting others while the menu stands.
    const QString line = currentIndex().isValid() ? List(currentIndex().row()) : QString();
    QAction* copyLine =
        menu->addAction(QStringLiteral("Copy &Line"), this, [line] { QGuiApplication::clipboard()->setText(line); });
    copyLine->setEnabled(currentIndex().isValid());
    QAction* copyAll = menu->addAction(QStringLiteral("Copy &All"), this, &EventList::CopyAll);
    copyAll->setShortcut(QKeySequence::Copy);
    copyAll->setEnabled(ListCount() > 0);
    menu->popup(event->globalPos());
}

QSize EventList::minimumSizeHint() const
{
    const QSize lines(20 * fontMetrics().averageCharWidth(), FewestLinesSeen * LineHeight(fontMetrics()));
    return lines.grownBy(QMargins() + frameWidth());
}

void EventList::ShowLastLine()
{
    m_Lines->Announce();
    setCurrentIndex(m_Lines->index(m_Lines->rowCount() - 1));
}
