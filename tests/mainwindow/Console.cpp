#include "tests/mainwindow/Console.h"

#include <QAbstractButton>
#include <QMenu>

QString Console::Describe(const QMessageBox& box) const
{
    QStringList buttons;
    for (QAbstractButton* button : box.buttons()) buttons << button->text().remove(u'&');
    return u"%1%2 %3 %4: "_s.arg(box.textFormat() == Qt::PlainText ? u""_s : u"rich "_s)
               .arg(box.icon())
               .arg(buttons.join(u'/'), box.windowTitle()) +
           box.text();
}

void Console::StartActive()
{
    Start();
    TakeCalls();
    m_Main->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
}

void Console::StartWith(ObjectWindows windows)
{
    m_Main = std::make_unique<frmMDI>(m_Services, std::move(windows));
    m_Main->Form_Load();
}

void Console::Trigger(const char* action)
{
    m_Main->RefreshTlbar();
    m_Main->RefreshMenuBar();
    Control<QAction>(action).trigger();
}

TreeNodeRef Console::AddItemNode(const QString& name)
{
    m_Server.FindController(u"PLC1"_s).Items.append(FakeServer::Item{name});
    return m_Main->Tree().Append(Node(PLC1), name, NodeTag::AddItem);
}

QPoint Console::PlaceOf(const TreeNodeRef& node)
{
    const QModelIndex index = m_Main->Tree().IndexOf(node);
    Tree().scrollTo(index);
    const QRect place = Tree().visualRect(index);
    return {place.left() + 10, place.center().y()};
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
