#include "core/FieldColour.h"

#include "core/Contrast.h"

#include <QComboBox>
#include <QEvent>
#include <QLabel>
#include <QScopedValueRollback>

namespace {

const QString ChildName = QStringLiteral("FieldColour");

/// A drop-down list without an editor is painted like a button.
QPalette::ColorRole GroundOf(const QWidget* field)
{
    const auto* list = qobject_cast<const QComboBox*>(field);
    return list && !list->isEditable() ? QPalette::Button : QPalette::Base;
}

} // namespace

FieldColour::FieldColour(QWidget* field)
    : QObject(field)
    , m_Field(field)
{
    setObjectName(ChildName);
    field->installEventFilter(this);
}

void FieldColour::Set(QWidget* field, QPalette::ColorRole source)
{
    auto* colour = static_cast<FieldColour*>(field->findChild<QObject*>(ChildName, Qt::FindDirectChildrenOnly));
    if (!colour) colour = new FieldColour(field);
    colour->m_Source = source;
    colour->Apply();
}

bool FieldColour::eventFilter(QObject* /*watched*/, QEvent* event)
{
    if (event->type() == QEvent::PaletteChange && !m_Applying) Apply();
    return false;
}

void FieldColour::Apply()
{
    const QScopedValueRollback applying(m_Applying, true);
    ApplyToField();
    ApplyToLabels();
}

void FieldColour::ApplyToField()
{
    m_Field->setPalette(QPalette()); // back to the colours around it
    const QPalette::ColorRole ground = GroundOf(m_Field);
    if (ground == m_Source) return;
    const QPalette around = m_Field->palette();
    QPalette own;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        own.setBrush(group, ground, around.brush(group, m_Source));
    m_Field->setPalette(own);
}

/// The label stays as legible as a text has to be.
void FieldColour::ApplyToLabels()
{
    if (!m_Field->parentWidget()) return;
    const QPalette around = m_Field->parentWidget()->palette();
    const bool isDim = m_Source == QPalette::Button && !Contrast::TellsFieldsApart(around);
    QPalette dimmed;
    for (const auto group : {QPalette::Active, QPalette::Inactive})
        dimmed.setColor(group, QPalette::WindowText,
                        Contrast::Toned(around.color(group, QPalette::Window),
                                        around.color(group, QPalette::WindowText), Contrast::LeastOfTexts));
    for (QLabel* label : m_Field->parentWidget()->findChildren<QLabel*>(Qt::FindDirectChildrenOnly)) {
        if (label->buddy() == m_Field) label->setPalette(isDim ? dimmed : QPalette());
    }
}
