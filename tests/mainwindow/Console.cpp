#include "tests/mainwindow/Console.h"

#include "core/LogPane.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"
#include "mainwindow/Start.h"

#include <QAbstractButton>
#include <QLabel>
#include <QMenu>

namespace {

QString Describe(const QMessageBox& box)
{
    const QString icon = box.icon() == QMessageBox::Information ? u"information"_s : QString::number(box.icon());
    const QString plain = box.textFormat() == Qt::PlainText ? u"plain"_s : u"rich"_s;
    QStringList buttons;
    for (QAbstractButton* button : box.buttons()) buttons << button->text().remove(u'&');
    return u"%1 %2 %3 %4: "_s.arg(plain, icon, buttons.join(u'/'), box.windowTitle()) + box.text();
}

void ListKeys(const TreeNodeRef& node, QStringList& keys)
{
    if (!node) return;
    keys << node->Key() + u' ' + TagText(node->Tag());
    for (int row = 0; row < node->ChildCount(); ++row) ListKeys(node->Child(row), keys);
}

} // namespace

void FakeScriptTool::AddObject(const QString& name, const ObjectRef& object)
{
    m_Calls << u"AddObject "_s + name + (object == modMain::Engine ? u" engine"_s : u" other"_s);
}

void FakeScriptTool::RemoveObject(const QString& name)
{
    m_Calls << u"RemoveObject %1, %2 windows"_s.arg(name).arg(ChildWindow::Forms().size()) +
                   (modMain::Engine ? u", engine"_s : u""_s);
    if (m_Fails) throw ServerError(u"The script tool is gone."_s);
}

Console::Console()
{
    modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
        m_Boxes << Describe(box);
        m_WhileAsking();
        return m_Answer;
    });
}

Console::~Console()
{
    m_Main.reset();
    modMain::ReplaceMessageBoxes({});
}

void Console::Start()
{
    m_Main = StartConsole(m_Server);
}

void Console::StartActive()
{
    Start();
    TakeCalls();
    m_Main->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
}

TreeNodeRef Console::StartWithAddedItem()
{
    StartActive();
    const TreeNodeRef added = AddItemNode(u"D900"_s);
    DoubleClick(PlaceOf(added));
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(D900)"_s});
    ChildWindow::Forms().constFirst()->HideForm();
    TakeCalls();
    return added;
}

void Console::Create(ObjectWindows windows)
{
    m_Main = std::make_unique<frmMDI>(std::move(windows));
}

void Console::WaitForCheck()
{
    QTest::qWait(110);
    QCoreApplication::processEvents(); // on a busy machine the wait may end without having looked once more
}

void Console::Trigger(const char* action)
{
    m_Main->RefreshTlbar();
    m_Main->RefreshMenuBar();
    Control<QAction>(action).trigger();
}

QString Console::Panel(int number)
{
    return m_Main->findChild<QLabel*>(u"stbrMain_%1"_s.arg(number))->text();
}

QStringList Console::Keys()
{
    QStringList keys;
    ListKeys(m_Main->Tree().Root(), keys);
    return keys;
}

TreeNodeRef Console::AddItemNode(const QString& name)
{
    m_Server.FindController(u"PLC1"_s).Items.append(FakeServer::Item{name});
    return m_Main->Tree().Append(Node(u"VelSQLEngine\\PLC1"), name, NodeTag::AddItem);
}

QPoint Console::PlaceOf(const TreeNodeRef& node)
{
    const QModelIndex index = m_Main->Tree().IndexOf(node);
    Tree().scrollTo(index);
    const QRect place = Tree().visualRect(index);
    return {place.left() + 10, place.center().y()};
}

void Console::Click(const TreeNodeRef& node, Qt::MouseButton button)
{
    QTest::mouseClick(Tree().viewport(), button, {}, PlaceOf(node));
}

void Console::DoubleClick(const QPoint& place)
{
    QTest::mouseClick(Tree().viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(Tree().viewport(), Qt::LeftButton, {}, place);
}

QString Console::TakePopup()
{
    QWidget* popup = QApplication::activePopupWidget();
    if (!popup) return {};
    popup->close();
    m_Main->activateWindow(); // this platform leaves no window active behind a pop-up
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
    return popup->objectName();
}

QStringList Console::Windows()
{
    QStringList captions;
    for (const ChildWindow* form : ChildWindow::Forms()) captions << form->windowTitle();
    return captions;
}
