#pragma once

#include "trend/picture/PictureHit.h"
#include "trend/picture/TrendPainter.h"
#include "trend/window/PenModel.h"
#include "trend/window/ViewControl.h"

#include <QElapsedTimer>
#include <QRubberBand>
#include <QWidget>

/// The picture on the screen, and what mouse and keyboard do in it.
class PictureView : public QWidget
{
    Q_OBJECT

public:
    explicit PictureView(QWidget* parent = nullptr);

    void SetSource(TrendData& data, ViewControl& control);
    void SetCurrent(std::optional<std::size_t> pen);
    /// Says above the picture what keeps values from coming; empty: nothing does.
    void SetTrouble(const QString& trouble);
    /// Whether less than `share` times as long has passed since the picture was painted as that took.
    bool IsTired(double share) const;
    /// Of the plot, in pixels of the screen.
    int ColumnCount() const;
    QSize sizeHint() const override;

Q_SIGNALS:
    void ItemsDropped(const QStringList& items);
    /// The mouse is at this moment; nothing when it is outside.
    void Pointed(std::optional<Micros> time);
    /// A pen was clicked.
    void PenPicked(std::size_t pen);
    void LimitMoved(std::size_t pen, std::size_t limit, double value);
    /// The pen before or behind the current one is wanted.
    void StepPen(int by);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    enum class Doing
    {
        Nothing,
        Panning,
        Marking,
        Zooming, ///< into a rubber band
        MovingCursor,
        MovingEdge, ///< of the marked span
        MovingLimit
    };

    Micros TimeAt(double x) const;
    std::vector<const Pen*> AllPens() const;
    PictureHit HitAt(const QPointF& point) const;
    Doing DoingFor(const QMouseEvent& press);
    void Click(const QPointF& point, Doing done);
    bool PanOrZoom(int key);
    bool MoveCursor(const QKeyEvent& key);
    void DragTo(const QPointF& point);
    void ShowBand(double x);
    void PaintTrouble(QPainter& painter) const;

    TrendData* m_Data = nullptr;
    ViewControl* m_Control = nullptr;
    TrendPainter m_Painter;
    PictureLayout m_Layout;
    std::optional<std::size_t> m_Current;
    Doing m_Doing = Doing::Nothing;
    double m_PressedAt = 0;
    PictureHit m_Held; ///< what the mouse has taken hold of
    bool m_HasMoved = false;
    Span m_SpanPressed;
    std::size_t m_Cursor = 0; ///< which one the keys move
    QString m_Trouble;
    QElapsedTimer m_SincePainted;
    double m_PaintNs = 0;
    QRubberBand m_Band{QRubberBand::Rectangle, this};
};
