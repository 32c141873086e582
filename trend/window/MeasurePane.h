#pragma once

#include "trend/core/View.h"
#include "trend/window/ReadingsModel.h"

#include <QTableView>
#include <QTabWidget>

#include <array>

/// What has been measured in a trend: the values at the cursors, figures about the marked span, times at which limits
/// were crossed. Only the table that is seen is worked out.
class MeasurePane : public QTabWidget
{
    Q_OBJECT

public:
    explicit MeasurePane(QWidget* parent = nullptr);

    void Show(const View& view, std::span<const Pen* const> pens);
    /// The table that is seen, with tabs between the cells.
    QString Text() const;

private:
    struct Page
    {
        QTableView* Table;
        ReadingsModel* Model;
    };

    std::array<Page, 3> m_Pages;
};
