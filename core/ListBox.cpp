#include "core/ListBox.h"

#include "core/automation/Errors.h"
#include "core/FieldColour.h"

#include <QLabel>
#include <QSignalBlocker>
#include <QWheelEvent>

ListBox::ListBox(QWidget* parent)
    : QComboBox(parent)
{
    // The wheel over a list neither focuses nor changes it.
    setFocusPolicy(Qt::StrongFocus);
    setMaxVisibleItems(22); // all value types
    setSizeAdjustPolicy(AdjustToContents);
    // Looks like any other field, even before a rule sets its colour.
    FieldColour::Set(this, QPalette::Base);
    connect(this, &QComboBox::activated, this, &ListBox::Click);
}

void ListBox::AddItem(const QString& text, qint32 itemData)
{
    const QSignalBlocker silently(this);
    const int selected = currentIndex();
    addItem(text, itemData);
    // The first entry added would otherwise be selected.
    setCurrentIndex(selected);
}

void ListBox::AddItems(const QStringList& texts)
{
    for (const QString& text : texts) AddItem(text);
}

void ListBox::RemoveItem(int index)
{
    if (index < 0 || index >= count()) throw ValueError::SubscriptOutOfRange();
    const QSignalBlocker silently(this);
    if (index == currentIndex()) setCurrentIndex(-1); // a neighbour would otherwise be selected
    removeItem(index);
}

void ListBox::Clear()
{
    const QSignalBlocker silently(this);
    clear();
}

qint32 ListBox::ItemData(int index) const
{
    return itemData(index).toInt();
}

void ListBox::SetListIndex(int index)
{
    if (index < -1 || index >= count()) throw ValueError::SubscriptOutOfRange();
    setCurrentIndex(index);
    Q_EMIT Click();
}

/// Qt keeps the first one, even when entries follow: the list would cut them.
QSize ListBox::minimumSizeHint() const
{
    return sizeHint();
}

bool ListBox::event(QEvent* event)
{
    if (event->type() == QEvent::Polish) LetNameBeSpoken();
    return QComboBox::event(event);
}

/// Qt tells screen readers the entry selected as the list's name and drops its own. What they do speak is a label's
/// text, so a list without one gets a label that is not seen.
void ListBox::LetNameBeSpoken()
{
    if (accessibleName().isEmpty() || !parentWidget()) return;
    auto* label = new QLabel(accessibleName(), parentWidget());
    label->setTextFormat(Qt::PlainText);
    label->setBuddy(this);
    label->hide();
}

void ListBox::wheelEvent(QWheelEvent* event)
{
    if (hasFocus()) return QComboBox::wheelEvent(event);
    // Someone who scrolls a pane means the pane.
    event->ignore();
}
