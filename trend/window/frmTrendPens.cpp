// What the entries of the menu "Pens" do.
#include "trend/window/frmChooser.h"
#include "trend/window/frmTrend.h"

#include "core/automation/NumberText.h"

#include <QColorDialog>
#include <QInputDialog>
#include <QMessageBox>

#include <cmath>

namespace {

/// Throws nothing; nothing for a text with something else than numbers in it.
std::optional<std::vector<double>> ReadLimits(const QString& text)
{
    std::vector<double> limits;
    for (const QString& part : text.split(u';', Qt::SkipEmptyParts)) {
        bool isNumber = false;
        const double limit = part.trimmed().toDouble(&isNumber);
        if (!isNumber || !std::isfinite(limit)) return std::nullopt;
        limits.push_back(limit);
    }
    return limits;
}

QString WriteLimits(const std::vector<double>& limits)
{
    QStringList texts;
    for (const double limit : limits) texts.append(QString::number(limit, 'g', 15));
    return texts.join(QStringLiteral("; "));
}

} // namespace

void frmTrend::ConnectPens()
{
    for (QAction* entry : {mnuPens_Remove}) {
        entry->setShortcutContext(Qt::WidgetShortcut);
        picTrend->addAction(entry);
        fgPen->addAction(entry);
    }
    connect(mnuPens_Add, &QAction::triggered, this, &frmTrend::Choose);
    connect(cmdAdd, &QToolButton::clicked, this, &frmTrend::Choose);
    connect(mnuPens_Remove, &QAction::triggered, this, &frmTrend::RemovePens);
    connect(mnuPens_Up, &QAction::triggered, this, [this] { MovePen(-1); });
    connect(mnuPens_Down, &QAction::triggered, this, [this] { MovePen(1); });
    connect(mnuPens_Show, &QAction::triggered, this,
            [this](bool isOn) { ChangePens([isOn](PenSettings& pen) { pen.IsVisible = isOn; }); });
    connect(mnuPens_Axis, &QAction::triggered, this,
            [this](bool isOn) { ChangePens([isOn](PenSettings& pen) { pen.HasOwnAxis = isOn; }); });
    connect(mnuPens_Line, &QAction::triggered, this, [this](bool isOn) {
        ChangePens([isOn](PenSettings& pen) { pen.Drawn = isOn ? Drawing::Line : Drawing::Step; });
    });
    connect(mnuPens_Colour, &QAction::triggered, this, &frmTrend::ChooseColour);
    connect(mnuPens_Limits, &QAction::triggered, this, &frmTrend::AskLimits);
    connect(fgPen, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.column() == PenModel::Axis) mnuPens_Axis->trigger();
        else if (index.column() == PenModel::Drawn) mnuPens_Line->trigger();
        else if (index.column() == PenModel::Item) ChooseColour();
    });
    connect(fgPen->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmTrend::EnableEntries);
    connect(fgPen->selectionModel(), &QItemSelectionModel::selectionChanged, this, &frmTrend::EnableEntries);
    connect(&m_Pens, &PenModel::SettingsChanged, this, [this] {
        m_Data.Show(m_Control.Of().Shown, picTrend->ColumnCount());
        picTrend->update();
        EnableEntries();
    });
    connect(&m_Pens, &PenModel::PenMoved, this, &frmTrend::SelectRow, Qt::QueuedConnection);
    connect(&m_Pens, &PenModel::ItemsDropped, this, &frmTrend::AddItems, Qt::QueuedConnection);
    connect(picTrend, &PictureView::ItemsDropped, this, &frmTrend::AddItems);
    connect(picTrend, &PictureView::StepPen, this, [this](int by) {
        if (m_Pens.rowCount() > 0) SelectRow(std::clamp(CurrentRow() + by, 0, m_Pens.rowCount() - 1));
    });
    connect(picTrend, &PictureView::PenPicked, this, [this](std::size_t pen) { SelectRow(static_cast<int>(pen)); });
    connect(picTrend, &PictureView::LimitMoved, this, [this](std::size_t pen, std::size_t limit, double value) {
        m_Pens.Settings(static_cast<int>(pen)).Limits.at(limit) = value;
        m_Pens.NoteSettings();
    });
    fgPen->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(fgPen, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& place) { mnuPens->popup(fgPen->viewport()->mapToGlobal(place)); });
}

void frmTrend::Choose()
{
    Report([this] {
        auto* const chooser = new frmChooser(m_Make, this);
        connect(chooser, &frmChooser::Chosen, this, &frmTrend::AddItems);
        chooser->show();
    });
}

int frmTrend::CurrentRow() const
{
    return fgPen->currentIndex().isValid() ? fgPen->currentIndex().row() : -1;
}

QList<int> frmTrend::SelectedRows() const
{
    QList<int> rows;
    for (const QModelIndex& index : fgPen->selectionModel()->selectedRows()) rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

void frmTrend::SelectRow(int row)
{
    fgPen->setCurrentIndex(m_Pens.index(row, PenModel::Item));
}

void frmTrend::MovePen(int by)
{
    const int row = CurrentRow();
    const int to = row + by;
    if (row < 0 || to < 0 || to >= m_Pens.rowCount()) return;
    m_Data.Move(static_cast<std::size_t>(row), static_cast<std::size_t>(to));
    SelectRow(to);
}

void frmTrend::RemovePens()
{
    const QList<int> rows = SelectedRows();
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) m_Data.Remove(static_cast<std::size_t>(*row));
    if (!rows.isEmpty() && m_Pens.rowCount() > 0) SelectRow(std::min(rows.first(), m_Pens.rowCount() - 1));
}

void frmTrend::ChangePens(const std::function<void(PenSettings&)>& change)
{
    for (const int row : SelectedRows()) change(m_Pens.Settings(row));
    m_Pens.NoteSettings();
}

void frmTrend::ChooseColour()
{
    if (CurrentRow() < 0) return;
    const QColor chosen = QColorDialog::getColor(m_Pens.Settings(CurrentRow()).Colour, this);
    if (!chosen.isValid()) return;
    ChangePens([colour = chosen.rgb() & 0xFFFFFF](PenSettings& pen) { pen.Colour = colour; });
}

/// Asks again until what is typed are numbers, or nothing more is wanted.
void frmTrend::AskLimits()
{
    if (CurrentRow() < 0) return;
    QString text = WriteLimits(m_Pens.Settings(CurrentRow()).Limits);
    QString label = QStringLiteral("Values at which a line is drawn, with ; between them:");
    for (bool isAccepted = true;;) {
        text = QInputDialog::getText(this, QStringLiteral("Limits"), label, QLineEdit::Normal, text, &isAccepted);
        if (!isAccepted) return;
        if (const auto limits = ReadLimits(text))
            return ChangePens([&limits](PenSettings& pen) { pen.Limits = *limits; });
        label = QStringLiteral("These are not all numbers. Such as 10; 72.5:");
    }
}

void frmTrend::EnableEntries()
{
    const int row = CurrentRow();
    const bool hasPen = row >= 0 && row < m_Pens.rowCount();
    for (QAction* entry : {mnuPens_Remove, mnuPens_Show, mnuPens_Colour, mnuPens_Axis, mnuPens_Line, mnuPens_Limits})
        entry->setEnabled(hasPen);
    mnuPens_Up->setEnabled(row > 0);
    mnuPens_Down->setEnabled(hasPen && row + 1 < m_Pens.rowCount());
    picTrend->SetCurrent(hasPen ? std::optional(static_cast<std::size_t>(row)) : std::nullopt);
    QStringList names;
    for (const auto& pen : m_Data.Pens()) {
        if (names.size() < 3) names.append(pen->Settings.Name());
    }
    if (m_Pens.rowCount() > names.size()) names.append(QStringLiteral("..."));
    setWindowTitle(names.isEmpty() ? QStringLiteral("Trend")
                                   : names.join(QStringLiteral(", ")) + QStringLiteral(" - Trend"));
    if (!hasPen) return;
    const PenSettings& pen = m_Pens.Settings(row);
    mnuPens_Show->setChecked(pen.IsVisible);
    mnuPens_Axis->setChecked(pen.HasOwnAxis);
    mnuPens_Line->setChecked(pen.Drawn == Drawing::Line);
}
