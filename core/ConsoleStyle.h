#pragma once

#include <QProxyStyle>

/// The style that the desktop or the command line has chosen, with outlines and handles that can be seen and grasped in
/// every palette and with every font.
class ConsoleStyle : public QProxyStyle
{
    Q_OBJECT

public:
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    /// Handles, frames and title bars grow with the font.
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
};
