#pragma once

#include "core/ChildWindow.h"
#include "core/LogPane.h"
#include "core/modFields.h"
#include "mainwindow/frmMDI.h"
#include "mainwindow/Start.h"
#include "tests/support/ConsoleTest.h"
#include "tests/support/FakeServer.h"

#include <QLabel>
#include <QMessageBox>

#include <memory>

inline const QString PLC1 = u"VelSQLEngine\\PLC1"_s;
inline const QString D100 = PLC1 + u"\\D100"_s;
inline const QString D200 = PLC1 + u"\\D200"_s;

/// The whole main window on a server with the controllers "PLC1" (items "D100" and "D200") and "PLC2" (no items);
/// message boxes are answered by the test.
class Console : public ConsoleTest
{
protected:
    Console() { m_Answer = QMessageBox::Yes; }

    QObject* Window() override { return m_Main.get(); }

    /// Runs the start routine; the calls that it took stay recorded.
    void Start() { m_Main = StartConsole(m_Services); }
    /// Starts, forgets the calls, and waits until the window is active.
    void StartActive()
    {
        Start();
        TakeCalls();
        m_Main->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
    }
    /// Starts a main window with windows of the test's own.
    void StartWith(ObjectWindows windows)
    {
        m_Main = std::make_unique<frmMDI>(m_Services, std::move(windows));
        m_Main->Form_Load();
    }

    ObjectTreeView& Tree() { return Control<ObjectTreeView>("treeObject"); }
    LogPane& LogBox() { return m_Main->Log(); }
    QString Log() { return LogBox().Text(); }
    /// Chooses an entry or button as it is after the next check.
    void Trigger(const char* action)
    {
        m_Main->RefreshTlbar();
        m_Main->RefreshMenuBar();
        Control<QAction>(action).trigger();
    }
    bool IsEnabled(const char* action) { return Control<QAction>(action).isEnabled(); }
    /// A panel of the status bar: 1 to 3.
    QString Panel(int number) { return Control<QLabel>(u"stbrMain_%1"_s.arg(number)).text(); }
    QStringList Panels() { return {Panel(1), Panel(2), Panel(3)}; }
    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }

    TreeNodeRef Node(QStringView key) { return m_Main->Tree().FindByKey(key); }
    TreeNodeRef Current() { return m_Main->m_CurrentNode; }
    /// An item of PLC1 that this console has added.
    TreeNodeRef AddItemNode(const QString& name)
    {
        m_Server.FindController(u"PLC1"_s).Items.append(FakeServer::Item{name});
        return m_Main->Tree().Append(Node(PLC1), name, NodeTag::AddItem);
    }
    /// Where the mouse hits the node, scrolled to it.
    QPoint PlaceOf(const TreeNodeRef& node)
    {
        Tree().scrollTo(m_Main->Tree().IndexOf(node));
        const QRect place = Tree().visualRect(m_Main->Tree().IndexOf(node));
        return {place.left() + 10, place.center().y()};
    }
    void Click(const TreeNodeRef& node, Qt::MouseButton button = Qt::LeftButton)
    {
        QTest::mouseClick(Tree().viewport(), button, {}, PlaceOf(node));
    }
    void DoubleClick(const QPoint& place)
    {
        QTest::mouseClick(Tree().viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(Tree().viewport(), Qt::LeftButton, {}, place);
    }
    /// Holds the button down in between and moves once more without it.
    static void Drag(QWidget& widget, const QPoint& from, const QPoint& to)
    {
        QMouseEvent move(QEvent::MouseMove, to, widget.mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
        QTest::mousePress(&widget, Qt::LeftButton, {}, from);
        QApplication::sendEvent(&widget, &move);
        QTest::mouseRelease(&widget, Qt::LeftButton, {}, to);
        QApplication::sendEvent(&widget, &move);
    }
    void DoubleClick(const QString& key) { DoubleClick(PlaceOf(Node(key))); }
    /// The pop-up that is open, which is then closed; empty when there is none.
    QString TakePopup()
    {
        QWidget* popup = QApplication::activePopupWidget();
        if (!popup) return {};
        popup->close();
        m_Main->activateWindow(); // this platform leaves no window active behind a pop-up
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_Main.get()));
        return popup->objectName();
    }
    /// The captions of the child windows that are loaded.
    static QStringList Windows()
    {
        QStringList captions;
        for (const ChildWindow* form : ChildWindow::Forms()) captions << form->windowTitle();
        return captions;
    }

    FakeServer m_Server;
    ConsoleServices m_Services{m_Server, *this};
    std::unique_ptr<frmMDI> m_Main;

private:
    /// "icon buttons title: text"; in front of it "rich" when the text is not shown as it is.
    QString Describe(const QMessageBox& box) const override
    {
        QString text = box.textFormat() == Qt::PlainText ? u""_s : u"rich "_s;
        text += QString::number(box.icon());
        for (QAbstractButton* button : box.buttons()) text += u' ' + button->text().remove(u'&');
        return text + u' ' + box.windowTitle() + u": "_s + box.text();
    }
};
