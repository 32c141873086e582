#include "additem/frmAddItem.h"
#include "perfcheck/frmPerfChk.h"
#include "tests/system/SystemConsole.h"

#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeView>

namespace {

template <typename... Types>
bool IsAnyOf(const QWidget& control)
{
    return (qobject_cast<const Types*>(&control) || ...);
}

int TextWidth(const QWidget& control, const QString& text)
{
    return control.fontMetrics().size(Qt::TextShowMnemonic, text).width();
}

/// Any entry, whichever is selected.
bool IsEntryCut(const QComboBox& list)
{
    QStyleOptionComboBox option;
    option.initFrom(&list);
    const auto room =
        list.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &list).width() - 2;
    for (int i = 0; i < list.count(); ++i)
        if (list.fontMetrics().horizontalAdvance(list.itemText(i)) > room) return true;
    return false;
}

bool IsTextCut(const QWidget& control)
{
    if (const auto* list = qobject_cast<const QComboBox*>(&control)) // one of long texts has tool tips
        return list->sizeAdjustPolicy() != QComboBox::AdjustToMinimumContentsLengthWithIcon && IsEntryCut(*list);
    if (const auto* label = qobject_cast<const QLabel*>(&control))
        return !label->wordWrap() && !label->text().isEmpty() && label->minimumSizeHint().width() > label->width();
    if (const auto* button = qobject_cast<const QPushButton*>(&control)) // its margins may go
        return TextWidth(*button, button->text()) > button->width() - 4;
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control)) // a mark stands before the text
        return !button->text().isEmpty() && button->minimumSizeHint().width() > button->width();
    if (const auto* box = qobject_cast<const QGroupBox*>(&control)) return TextWidth(*box, box->title()) > box->width();
    const auto* tabs = qobject_cast<const QTabBar*>(&control);
    return tabs && tabs->sizeHint().width() > tabs->width();
}

bool SticksOut(const QWidget& control)
{
    const QWidget* parent = control.parentWidget();
    if (control.isWindow() || IsAnyOf<QMdiSubWindow>(control)) return false;
    if (const auto* area = qobject_cast<const QAbstractScrollArea*>(parent->parentWidget());
        area && area->viewport() == parent)
        return false;
    return !parent->rect().contains(control.geometry());
}

bool IsNameless(QWidget& control)
{
    if (!(control.focusPolicy() & Qt::TabFocus) || !control.isEnabled()) return false;
    QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&control);
    // The name of a drop-down list is the entry selected, so what it is for must stand on a label.
    if (spoken && IsAnyOf<QComboBox>(control)) return spoken->relations(QAccessible::Label).isEmpty();
    return (spoken ? spoken->text(QAccessible::Name) : control.accessibleName()).isEmpty();
}

/// What a screen reader is told about the rows of a grid.
QStringList RowNames(QTableWidget& grid)
{
    QStringList names;
    const auto* table = QAccessible::queryAccessibleInterface(&grid)->tableInterface();
    for (int row = 0; table && row < table->rowCount(); ++row) names << table->rowDescription(row);
    return names;
}

TEST_F(SystemConsole, ScreenReadersAreToldRowsByNameAndNodesByKind)
{
    StartBoth();
    EXPECT_EQ(RowNames(Control<PropertyGrid>(Show(PLC1), "fgCtrl")).first(3),
              QStringList({u"Index"_s, u"Name"_s, u"Description"_s}));
    auto& tree = Control<ObjectTreeView>(*m_Main, "treeObject");
    const auto* nodes = QAccessible::queryAccessibleInterface(&tree)->tableInterface();
    EXPECT_EQ(nodes->cellAt(1, 0)->text(QAccessible::Name), u"PLC1"_s);
    EXPECT_EQ(nodes->cellAt(1, 0)->text(QAccessible::Description), u"Controller"_s);
}

/// What a toolbar does stands in menus too, and a child area gives the focus to the windows in it.
bool NeedsMouse(const QWidget& control)
{
    return IsAnyOf<QAbstractButton, QComboBox, QLineEdit, QTabBar, QAbstractSpinBox, QAbstractScrollArea>(control) &&
           !(control.focusPolicy() & Qt::TabFocus) && !IsAnyOf<QMdiArea>(control) &&
           !qobject_cast<const QToolBar*>(control.parentWidget());
}

/// Parts that Qt makes by itself: frames of child windows, buttons inside fields, scroll bars.
bool IsQtsOwn(const QWidget& control)
{
    return control.objectName().isEmpty() || control.objectName().startsWith(u"qt_"_s);
}

/// What an operator would find fault with when looking at a window: a text that does not fit its control, a control
/// that sticks out of its parent, one that the keyboard does not reach, or reaches but a screen reader cannot name. One
/// line each.
QStringList FaultsOf(QWidget& window)
{
    QStringList faults;
    for (QWidget* control : window.findChildren<QWidget*>()) {
        if (!control->isVisibleTo(&window) || IsQtsOwn(*control)) continue;
        const QString name = control->objectName();
        if (IsTextCut(*control)) faults << name + u" cuts its text"_s;
        if (IsAnyOf<QLineEdit>(*control) && control->height() < control->fontMetrics().height())
            faults << name + u" is lower than its text"_s;
        if (SticksOut(*control)) faults << name + u" sticks out"_s;
        if (NeedsMouse(*control)) faults << name + u" is out of the keyboard's reach"_s;
        if (IsNameless(*control)) faults << name + u" has no name to be spoken"_s;
    }
    return faults;
}

TEST_F(SystemConsole, TwoItemWindowsStandUncoveredAndSixOnALargeScreen)
{
    StartBoth();
    for (const QSize& size : {QSize(1280, 800), QSize(1920, 1080)}) {
        m_Main->resize(size);
        QRegion free = m_Main->ChildArea().viewport()->rect();
        for (const QString& name : QStringList{u"D100"_s, u"Pump"_s, u"Level"_s, u"Valve"_s, u"Price"_s, u"Clock"_s}) {
            if (name == u"Level"_s && size.width() < 1920) break;
            const QRect place = Show(PLC1 + u'\\' + name).parentWidget()->geometry();
            EXPECT_EQ(free.intersected(place), QRegion(place)) << name.toStdString();
            free -= place;
        }
        Entry("mnuWindow_1").trigger();
    }
}

TEST_F(SystemConsole, EveryWindowCanBeReadReachedByTheKeyboardAndSpoken)
{
    StartBoth();
    m_Main->resize(1200, 800);
    OpenEveryWindow(Node(u"VelSQLEngine"));
    OpenBatch("D100,3,120");
    QWidget& script = RunScript(u"print(Vlx.ControllerNames)"_s);
    EXPECT_TRUE(WaitForScript(script));
    QTest::qWait(700); // two refreshes
    for (ChildWindow* form : ChildWindow::Forms())
        EXPECT_EQ(FaultsOf(*form), QStringList()) << form->windowTitle().toStdString();
    EXPECT_EQ(FaultsOf(*m_Main) + FaultsOf(script), QStringList());
    InDialog<frmAddItem>([this] { ChooseInPopup(PLC1, "mnuPopupCtrl_6"); },
                         [this](frmAddItem& dialog) {
                             for (const int page : {0, 1}) {
                                 Control<QTabWidget>(dialog, "sstbAddItem").setCurrentIndex(page);
                                 EXPECT_EQ(FaultsOf(dialog), QStringList()) << page;
                             }
                         });
    InDialog<frmPerfChk>([this] { Press(Show(D100), "cmdPerfchk"); },
                         [](frmPerfChk& dialog) { EXPECT_EQ(FaultsOf(dialog), QStringList()); });
    EXPECT_EQ(FaultsOf(OpenGuide()), QStringList());
}

} // namespace
