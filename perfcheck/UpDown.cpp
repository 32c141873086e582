#include "perfcheck/UpDown.h"

#include "core/automation/NumberText.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

UpDown::UpDown(QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    AddArrow(Qt::UpArrow, 1);
    AddArrow(Qt::DownArrow, -1);
}

void UpDown::AddArrow(Qt::ArrowType arrow, qint64 step)
{
    auto* button = new QToolButton(this);
    button->setArrowType(arrow);
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::NoFocus); // the field beside it keeps the focus
    button->setAccessibleName(step > 0 ? tr("More") : tr("Less"));
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);
    connect(button, &QToolButton::clicked, this, [this, step] { Step(step); });
    layout()->addWidget(button);
}

void UpDown::SetBuddy(QLineEdit* field, qint32 minimum, qint32 maximum)
{
    m_Buddy = field;
    m_Minimum = minimum;
    m_Maximum = maximum;
    field->installEventFilter(this);
}

bool UpDown::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || watched != m_Buddy || !isEnabled()) return false;
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Up && key != Qt::Key_Down) return false;
    Step(key == Qt::Key_Up ? 1 : -1);
    return true;
}

/// A text that is not a number counts as the lowest value.
void UpDown::Step(qint64 step)
{
    if (!m_Buddy) return;
    const double low = static_cast<double>(m_Minimum);
    const double number = std::clamp(ParseNumber(m_Buddy->text()).value_or(low), low, static_cast<double>(m_Maximum));
    m_Buddy->setText(QString::number(std::clamp(std::llround(number) + step, m_Minimum, m_Maximum)));
}
