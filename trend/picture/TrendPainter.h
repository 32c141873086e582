#pragma once

#include "trend/picture/CurvePainter.h"
#include "trend/picture/PictureColours.h"
#include "trend/picture/PictureLayout.h"

#include <QPainter>

/// Paints the picture of a trend, on a screen as into a file. One that is kept from frame to frame uses its memory again.
class TrendPainter
{
public:
    /// Paints with the painter's font from its origin; where everything then lies is the answer. Pens are painted in
    /// their order, the current one last.
    PictureLayout Paint(QPainter& painter, const QSizeF& size, const PictureContent& content,
                        const PictureColours& colours);

private:
    struct Frame;
    void PaintCurves(const Frame& frame);
    void PaintPens(const Frame& frame, CurvePainter& curves);
    void PaintBadStrips(const Frame& frame);
    static void PaintLanes(const Frame& frame);
    static void PaintWords(const Frame& frame);

    QImage m_Layer; ///< the plot, transparent, in pixels of the device
    /// Pens whose state is not good somewhere, with the columns.
    std::vector<std::pair<std::size_t, std::vector<std::pair<int, int>>>> m_Bad;
};
