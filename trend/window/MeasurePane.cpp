#include "trend/window/MeasurePane.h"

#include <QHeaderView>

namespace {

struct PageKind
{
    QStringView Caption;
    QStringView Tip;
    Readings (*Read)(const View& view, std::span<const Pen* const> pens);
};

constexpr std::array<PageKind, 3> Kinds = {
    PageKind{u"&Cursors", u"The values of all pens at the cursors, and their differences", CursorReadings},
    PageKind{u"&Span", u"Figures about the marked span, else about what is shown", SpanReadings},
    PageKind{u"&Limits", u"When values crossed the limits of their pens", LimitReadings},
};

} // namespace

MeasurePane::MeasurePane(QWidget* parent)
    : QTabWidget(parent)
{
    setDocumentMode(true);
    for (std::size_t i = 0; i < Kinds.size(); ++i) {
        auto* const table = new QTableView;
        auto* const model = new ReadingsModel(table);
        m_Pages[i] = {table, model};
        table->setModel(model);
        table->setAccessibleName(Kinds[i].Tip.toString());
        table->setTabKeyNavigation(false);
        table->setSelectionBehavior(QAbstractItemView::SelectRows);
        table->setShowGrid(false);
        table->setWordWrap(false);
        table->setAlternatingRowColors(true);
        table->verticalHeader()->hide();
        table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 5 / 4);
        table->horizontalHeader()->setHighlightSections(false);
        setTabToolTip(addTab(table, Kinds[i].Caption.toString()), Kinds[i].Tip.toString());
    }
}

void MeasurePane::Show(const View& view, std::span<const Pen* const> pens)
{
    const auto page = static_cast<std::size_t>(currentIndex());
    const int columns = m_Pages[page].Model->columnCount();
    m_Pages[page].Model->Show(Kinds[page].Read(view, pens), pens);
    if (m_Pages[page].Model->columnCount() != columns) m_Pages[page].Table->resizeColumnsToContents();
}

QString MeasurePane::Text() const
{
    const ReadingsModel& model = *m_Pages[static_cast<std::size_t>(currentIndex())].Model;
    QString text;
    for (int row = -1; row < model.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column)
            cells << (row < 0 ? model.headerData(column, Qt::Horizontal) : model.data(model.index(row, column)))
                         .toString();
        text += cells.join(u'\t') + u'\n';
    }
    return text;
}
