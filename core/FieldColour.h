#pragma once

#include <QObject>
#include <QPalette>

class QWidget;

/// The background colour of one input field, taken from the palette around it, so that it follows the desktop's
/// colours. Where it differs too little from that of other fields, the label of a locked field is dimmed as well.
class FieldColour : public QObject
{
public:
    /// Paints the background of `field` in the colour that `source` has, window background (Base) or button face
    /// (Button).
    static void Set(QWidget* field, QPalette::ColorRole source);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit FieldColour(QWidget* field);
    void Apply();
    void ApplyToField();
    void ApplyToLabels();

    QWidget* m_Field;
    QPalette::ColorRole m_Source = QPalette::Base;
    bool m_Applying = false;
};
