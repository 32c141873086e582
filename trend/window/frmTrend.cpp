#include "trend/window/frmTrend.h"

#include "core/Colours.h"
#include "core/WindowPlace.h"
#include "trend/core/ReadMoment.h"
#include "trend/core/TimeText.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QShortcut>

namespace {

/// Faster changes need not be seen.
constexpr int TurnMs = 50;
constexpr int ListMs = 250;
/// Painting takes at most one part in so many of the time, as long as nobody operates the picture.
constexpr double PaintingShare = 12;
constexpr qsizetype MostInTitle = 3;

struct Preset
{
    QStringView Caption;
    Micros Length;
};

constexpr Micros Minute = 60 * MicrosASecond;
constexpr Micros Hour = 60 * Minute;
constexpr Micros Day = 24 * Hour;
constexpr std::array Presets = {Preset{u"1 &minute", Minute},  Preset{u"10 m&inutes", 10 * Minute},
                                Preset{u"1 &hour", Hour},      Preset{u"8 h&ours", 8 * Hour},
                                Preset{u"1 &day", Day},        Preset{u"1 &week", 7 * Day},
                                Preset{u"1 mo&nth", 30 * Day}, Preset{u"1 &year", 365 * Day}};

/// With no more decimals than tell pixels apart.
QString RoundText(Micros time, const Span& shown)
{
    const int decimals = DecimalsFor(shown);
    const Micros unit = decimals == 0 ? MicrosASecond : decimals == 3 ? 1000 : 1;
    return MomentText(time - time % unit, decimals);
}

/// These keys mean something else in other controls.
void OnlyIn(std::initializer_list<QWidget*> widgets, QAction* entry)
{
    entry->setShortcutContext(Qt::WidgetShortcut);
    for (QWidget* widget : widgets) widget->addAction(entry);
}

} // namespace

frmTrend::frmTrend(MakeLibrary make)
    : m_Make(std::move(make))
    , m_Data(m_Make)
    , m_Pens(m_Data)
{
    setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    picTrend->SetSource(m_Data, m_Control);
    fgPen->setModel(&m_Pens);
    LayOut();
    AddPresets();
    ConnectFile();
    ConnectPens();
    ConnectView();
    ConnectMeasuring();
    ConnectData();
    m_Control.GoWith(m_Data.Now(), picTrend->ColumnCount());
    ShowView();
    EnableEntries();
}

frmTrend::~frmTrend() = default;

void frmTrend::LayOut()
{
    const QFontMetrics letter = fontMetrics();
    SetFirstSize(*this, {165 * letter.averageCharWidth(), 52 * letter.height()});
    splPanes->setStretchFactor(0, 3);
    splPanes->setStretchFactor(1, 1);
    splPanes->setSizes({6500, 3500});
    splTables->setStretchFactor(0, 3);
    splTables->setStretchFactor(1, 2);
    tabMeasure->hide(); // until there is something to be read
    fgPen->verticalHeader()->setDefaultSectionSize(letter.height() * 5 / 4);
    fgPen->horizontalHeader()->setHighlightSections(false);
    fgPen->setDragDropOverwriteMode(false);
    constexpr std::array<int, PenModel::Columns> Letters = {32, 21, 8, 16, 15, 13, 13, 13, 9, 7};
    for (int column = 0; column < PenModel::Columns; ++column)
        fgPen->setColumnWidth(column, Letters[static_cast<std::size_t>(column)] * letter.averageCharWidth() + 8);
    stbrTrend->addPermanentWidget(&m_Pointed);
    m_Pointed.setAccessibleName(QStringLiteral("Time at the mouse"));
    picTrend->setFocus();
}

void frmTrend::AddPresets()
{
    auto* const menu = new QMenu(QStringLiteral("Show a &Length"), mnuView);
    mnuView->insertMenu(mnuView_Marked, menu);
    for (std::size_t i = 0; i < Presets.size(); ++i) {
        const Preset& preset = Presets[i];
        cmbLength->addItem(preset.Caption.toString().remove(u'&'), preset.Length);
        QAction* const entry = menu->addAction(preset.Caption.toString());
        entry->setShortcut(QKeySequence(QStringLiteral("Alt+%1").arg(i + 1)));
        connect(entry, &QAction::triggered, this, [this, preset] { m_Control.ShowLength(preset.Length); });
    }
    connect(cmbLength, &QComboBox::activated, this,
            [this](int index) { m_Control.ShowLength(cmbLength->itemData(index).toLongLong()); });
}

void frmTrend::ConnectView()
{
    OnlyIn({picTrend}, mnuView_Follow);
    OnlyIn({picTrend}, mnuView_Back);
    OnlyIn({picTrend}, mnuView_Forward);
    OnlyIn({picTrend}, mnuView_Now);
    const auto follow = [this](bool follows) { m_Control.Follow(follows); };
    connect(mnuView_Follow, &QAction::triggered, this, follow);
    connect(cmdFollow, &QToolButton::clicked, this, follow);
    connect(mnuView_Now, &QAction::triggered, this, [this] { m_Control.Follow(true); });
    for (const auto& [entry, button, part] :
         {std::tuple(mnuView_Back, cmdBack, -1), {mnuView_Forward, cmdForward, 1}}) {
        const auto step = [this, part = part] { m_Control.Step(part); };
        connect(entry, &QAction::triggered, this, step);
        connect(button, &QToolButton::clicked, this, step);
    }
    connect(mnuView_In, &QAction::triggered, this, [this] { m_Control.Zoom(0.5, m_Control.Middle()); });
    connect(mnuView_Out, &QAction::triggered, this, [this] { m_Control.Zoom(2, m_Control.Middle()); });
    connect(mnuView_Marked, &QAction::triggered, &m_Control, &ViewControl::ZoomToMarked);
    connect(mnuView_From, &QAction::triggered, this, [this] {
        txtFrom->setFocus();
        txtFrom->selectAll();
    });
    connect(txtFrom, &QLineEdit::returnPressed, this, &frmTrend::TypeSpan);
    connect(txtTo, &QLineEdit::returnPressed, this, &frmTrend::TypeSpan);
    connect(&m_Control, &ViewControl::Changed, this, &frmTrend::ShowView);
    connect(picTrend, &PictureView::Pointed, this, &frmTrend::SayPointed);
}

void frmTrend::ConnectMeasuring()
{
    for (const auto& [entry, cursor] : {std::pair(mnuMeasure_1, std::size_t(0)), {mnuMeasure_2, std::size_t(1)}}) {
        connect(entry, &QAction::triggered, this, [this, cursor = cursor](bool isSet) {
            m_Control.SetCursor(cursor, isSet ? std::optional(m_Control.Middle()) : std::nullopt);
        });
    }
    connect(mnuMeasure_Mark, &QAction::triggered, this, [this] {
        const auto& [first, second] = m_Control.Of().Cursors;
        m_Control.Mark(first && second ? Span{*first, *second} : m_Control.Of().Shown);
    });
    connect(mnuMeasure_Clear, &QAction::triggered, &m_Control, &ViewControl::ClearMeasuring);
    connect(mnuMeasure_Pane, &QAction::toggled, tabMeasure, &QWidget::setVisible);
    connect(mnuMeasure_Pane, &QAction::toggled, this, &frmTrend::ShowReadings);
    connect(tabMeasure, &QTabWidget::currentChanged, this, &frmTrend::ShowReadings);
}

void frmTrend::ConnectData()
{
    connect(&m_Data, &TrendData::Changed, this, [this] { m_IsPictureOld = m_IsListOld = true; });
    connect(&m_Data, &TrendData::PensChanged, this, [this] { m_IsPictureOld = true; });
    connect(&m_Turn, &QTimer::timeout, this, &frmTrend::TakeTurn);
    m_SinceList.start();
    m_Turn.start(TurnMs);
}

/// Brings the present into the picture and the list, as often as painting them leaves time.
void frmTrend::TakeTurn()
{
    if (picTrend->IsTired(PaintingShare)) return;
    const int columns = picTrend->ColumnCount();
    m_Control.GoWith(m_Data.Now(), columns);
    m_Data.Show(m_Control.Of().Shown, columns);
    if (std::exchange(m_IsPictureOld, false)) picTrend->update();
    if (m_SinceList.elapsed() < ListMs || !std::exchange(m_IsListOld, false)) return;
    m_SinceList.start();
    m_Pens.Refresh(m_Control.Of().Shown);
    ShowReadings();
    SayTrouble();
}

void frmTrend::ShowReadings()
{
    if (tabMeasure->isVisible()) tabMeasure->Show(m_Control.Of(), AllPens());
}

void frmTrend::ShowView()
{
    const View& view = m_Control.Of();
    m_Data.Show(view.Shown, picTrend->ColumnCount());
    picTrend->update();
    m_IsListOld = true;
    mnuView_Follow->setChecked(view.IsFollowing);
    cmdFollow->setChecked(view.IsFollowing);
    mnuMeasure_1->setChecked(view.Cursors[0].has_value());
    mnuMeasure_2->setChecked(view.Cursors[1].has_value());
    mnuView_Marked->setEnabled(view.Marked.has_value());
    const bool hasMeasured = view.Marked || view.Cursors[0] || view.Cursors[1];
    if (hasMeasured != std::exchange(m_HasMeasured, hasMeasured)) mnuMeasure_Pane->setChecked(hasMeasured);
    const bool isTyping = txtFrom->hasFocus() || txtTo->hasFocus();
    for (const auto& [field, time] : {std::pair(txtFrom, view.Shown.From), {txtTo, view.Shown.To}}) {
        const bool isTyped = isTyping && (field->hasFocus() || field->isModified()); // the view goes on meanwhile
        if (!isTyped) field->setText(RoundText(time, view.Shown));
    }
    const int preset = cmbLength->findData(view.Shown.Length());
    const int own = static_cast<int>(Presets.size()); // the last entry is any other length
    if (preset < 0 && cmbLength->count() == own) cmbLength->addItem(QString());
    if (preset < 0 || preset == own) {
        cmbLength->setItemText(own, DurationText(view.Shown.Length()));
        cmbLength->setItemData(own, view.Shown.Length());
    }
    cmbLength->setCurrentIndex(preset < 0 ? own : preset);
}

void frmTrend::SayTrouble()
{
    picTrend->SetTrouble(m_Data.Absence().isEmpty() ? m_Data.HistoryTrouble() : m_Data.Absence());
}

void frmTrend::SayPointed(std::optional<Micros> time)
{
    m_Pointed.setText(time ? RoundText(*time, m_Control.Of().Shown) : QString());
}

void frmTrend::TypeSpan()
{
    const Span shown = m_Control.Of().Shown;
    const Micros now = m_Data.Now();
    const auto from = ReadMoment(txtFrom->text(), now, shown.From);
    const auto to = ReadMoment(txtTo->text(), now, shown.To);
    QLineEdit* const wrong = !from ? txtFrom : !to || *to <= *from ? txtTo : nullptr;
    if (wrong) {
        wrong->setFocus();
        wrong->selectAll();
        stbrTrend->showMessage(from && to ? QStringLiteral("The end must lie behind the beginning.")
                                          : QStringLiteral("\"%1\" is no time such as 2026-01-31 12:30, 12:30, now or "
                                                           "-2 h.")
                                                .arg(wrong->text()));
        return;
    }
    stbrTrend->clearMessage();
    picTrend->setFocus();
    m_Control.Show({*from, *to});
    if (*to == now) m_Control.Follow(true);
}

void frmTrend::ShowSpan(const std::optional<Span>& span, const std::optional<Micros>& length)
{
    m_Control.GoWith(m_Data.Now(), picTrend->ColumnCount());
    if (length) m_Control.ShowLength(*length);
    if (span) m_Control.Show(*span);
}

SavedView frmTrend::Saved() const
{
    SavedView saved{.Of = m_Control.Of(), .Pens = {}};
    for (const auto& pen : m_Data.Pens()) saved.Pens.push_back(pen->Settings);
    return saved;
}

void frmTrend::Open(const SavedView& saved)
{
    while (!m_Data.Pens().empty()) m_Data.Remove(0);
    for (const PenSettings& settings : saved.Pens) m_Data.Add(settings);
    m_Control.SetView(saved.Of);
    EnableEntries(); // and the title
}

void frmTrend::changeEvent(QEvent* event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) m_Pens.Refresh(m_Control.Of().Shown);
}

void frmTrend::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasText()) event->acceptProposedAction();
}

void frmTrend::dropEvent(QDropEvent* event)
{
    AddItems(ItemsIn(event->mimeData()->text()));
    event->acceptProposedAction();
}

void frmTrend::AddItems(const QStringList& items)
{
    const std::size_t before = m_Data.Pens().size();
    for (const QString& item : items) {
        auto settings = PenOf(item);
        if (!settings) continue;
        settings->Colour = PenColours[m_Data.Pens().size() % PenColours.size()];
        m_Data.Add(*settings);
    }
    if (m_Data.Pens().size() > before) SelectRow(static_cast<int>(before));
}
