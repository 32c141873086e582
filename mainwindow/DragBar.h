#pragma once

#include <QWidget>

/// The bar between two panes; PanesLayout follows its drag. Where it has the focus, the arrow keys move it.
class DragBar : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(Qt::Orientation orientation READ Orientation WRITE setOrientation)

public:
    explicit DragBar(QWidget* parent = nullptr);

    /// Vertical: a bar between left and right. Horizontal: a bar between top and bottom.
    Qt::Orientation Orientation() const { return m_Orientation; }
    /// Spelled the way the form's generated code calls it.
    void setOrientation(Qt::Orientation orientation);
    /// Thickness of the bar in pixels, as the style draws a splitter.
    int Thickness() const;

Q_SIGNALS:
    /// The mouse moved while a button that was pressed on the bar was down, or a key moves the bar; `position` is
    /// relative to the bar.
    void MouseMove(const QPoint& position);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::Orientation m_Orientation = Qt::Vertical;
    bool m_Dragging = false;
};
