#include "batchwrite/frmBatchWrite.h"
#include "item/frmItem.h"
#include "tests/support/WindowTest.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>

#include <sys/stat.h>

namespace {

/// The batch-write window for controller PLC1, and files for it.
class BatchWindow : public WindowTest<frmBatchWrite>
{
protected:
    BatchWindow() { Open(); }

    void Open()
    {
        m_Form = ChildWindow::Open<frmBatchWrite>(TreeNodeRef());
        m_Form->SetTargetController(u"PLC1"_s);
    }
    /// Writes the file and enters its name.
    void EnterFile(const QByteArray& content)
    {
        QFile file(m_Folder.filePath(u"list.txt"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        Type("txtFilename", file.fileName());
    }
    /// Presses "Start" and returns when the run is over.
    void Run() { Press("cmdStart"); }
    QTemporaryDir m_Folder;
};

/// What so many lines of the file cost when all is well.
QStringList LineLog(const QString& item, int lines = 1)
{
    QStringList log;
    for (int line = 0; line < lines; ++line) log << u"Calling Item(%1):put_Value..."_s.arg(item) << u"Succeeded."_s;
    return log;
}

struct PaintCount : QObject
{
    bool eventFilter(QObject*, QEvent* event) override
    {
        Count += event->type() == QEvent::Paint;
        return false;
    }
    int Count = 0;
};

} // namespace

TEST_F(BatchWindow, WritesLineByLineUntilALineOrACallFails)
{
    const QStringList first = LineLog(u"D100"_s), whole = first + LineLog(u"D200"_s);
    EnterFile("D100,3,-7\r\nD200,8,a,b, \"c\" \nD100,0");
    Run();
    EXPECT_EQ(TakeCalls().join(u' '),
              u"Engine.get_Controller(PLC1) Controller(PLC1).get_Item(D100) Item(D100).put_Value(3,-7) "
              u"Controller(PLC1).get_Item(D200) Item(D200).put_Value(8,a,b, \"c\" ) "
              u"Controller(PLC1).get_Item(D100) Item(D100).put_Value(0,)"_s);
    EXPECT_EQ(TakeLog(), whole + first);
    EXPECT_EQ(TakeStatus().last(2), QStringList({u"put_Value..."_s, u"Ready."_s}));

    const QString noComma = u"Invalid procedure call or argument: line 2, \"%1\", has no comma"_s;
    const std::pair<QByteArray, QStringList> rows[] = {
        {"Item1", {noComma.arg(u"Item1"_s)}},
        {"", {noComma.arg(QString())}},
        {QByteArray("\x7f\x45\0\x01\xff\n\0", 7), {noComma.arg(QString::fromLatin1("\x7f\x45\0\x01\xff", 5))}},
        {"a\rb" + QByteArray(50, 'x'), {noComma.arg(u"a b"_s + QString(37, u'x'))}},
        {",", {u"Calling Item():put_Value..."_s, u"Item not found: "_s}},
        {"D300,3,1", {u"Calling Item(D300):put_Value..."_s, u"Item not found: D300"_s}},
        {"D100,3,x", {u"Calling Item(D100):put_Value..."_s, u"VT_I4: \"x\" is not a number"_s}}};
    for (const auto& [line, log] : rows) {
        EnterFile("D100,3,1\n" + line + "\nD100,3,2\n");
        Run();
        EXPECT_EQ(TakeCalls().size(), 2 + log.size()); // the third ones are of the faulty line
        EXPECT_EQ(TakeLog(), first + log);
    }
    EnterFile("D100,3,1\nD200,8,x\n");
    for (int call = 1; call <= 5; ++call) {
        m_Server.FailCall(call, u"refused\r\n<b>here</b>"_s);
        Run();
        EXPECT_EQ(TakeCalls().size(), call);
        const QString refused = call == 1 ? u"Controller \"PLC1\": refused"_s : u"refused"_s;
        const int before = call == 1 ? 0 : (call - 2) / 2 * 2 + 1;
        EXPECT_EQ(TakeLog(), whole.first(before) + QStringList({refused, u"<b>here</b>"_s}));
        EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    }
    EXPECT_EQ(m_Main.Status(), u"Ready."_s);
}

TEST_F(BatchWindow, FilesThatCannotBeReadAreDescribedBeforeAnyCall)
{
    const QString pipe = m_Folder.filePath(u"pipe"_s);
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    for (const QString& path : {m_Folder.filePath(u"none.txt"_s), m_Folder.path(), u"/dev/zero"_s, pipe}) {
        Type("txtFilename", path);
        Run();
        const QStringList log = TakeLog();
        EXPECT_EQ(log.size(), 1);
        EXPECT_TRUE(log.value(0).startsWith(u"The file cannot be read: "_s + path)) << log.value(0).toStdString();
    }
    Type("txtFilename", {});
    Run();
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList());
    EnterFile("");
    Run();
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList(u"Engine.get_Controller(PLC1)"_s));
    m_Form->SetTargetController(u"Lab [*] <b>&Test"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (Lab [*][*] <b>&Test)"_s); // shown with one "[*]"
    Run();
    EXPECT_EQ(TakeLog(), QStringList({u"Controller \"Lab [*] <b>&Test\": Controller not found: Lab [*] <b>&Test"_s}));
}

TEST_F(BatchWindow, TheFileDialogFindsTextFilesByAFilterThatIsShownWhole)
{
    EnterFile("D100,3,1");
    const QString path = Text("txtFilename");
    QFile::copy(path, path + u".csv"_s);
    Type("txtFilename", u"old"_s);
    for (const bool accepts : {false, true}) {
        WhenEventsRun([&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog);
            EXPECT_EQ(dialog->directory().absolutePath(), QCoreApplication::applicationDirPath());
            EXPECT_EQ(dialog->findChild<QComboBox*>(u"fileTypeCombo"_s)->currentText(), u"テキスト(*.txt),*.txt"_s);
            if (!accepts) return dialog->reject();
            dialog->setDirectory(m_Folder.path());
            auto& files = *dialog->findChild<QAbstractItemView*>(u"listView"_s);
            EXPECT_TRUE(QTest::qWaitFor([&] { return files.model()->rowCount(files.rootIndex()) == 1; }, 10'000));
            dialog->findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(u"list"_s); // the extension is added
            static_cast<QDialog*>(dialog)->accept();
        });
        Press("cmdOpen");
        EXPECT_EQ(Text("txtFilename"), accepts ? path : u"old"_s);
    }
}

TEST_F(BatchWindow, RunsNestEightDeepTheInnerFinishesFirstAndStopEndsBoth)
{
    for (const bool stops : {true, false}) {
        EnterFile("D100,3,1\nD100,3,2\n");
        WhenEventsRun([&] {
            EnterFile("D200,8,a\nD200,8,b\n");
            if (stops) WhenEventsRun([this] { Press("cmdStop"); });
            Run();
        });
        Run();
        EXPECT_EQ(TakeLog(), stops ? LineLog(u"D100"_s) + LineLog(u"D200"_s)
                                   : LineLog(u"D100"_s) + LineLog(u"D200"_s, 2) + LineLog(u"D100"_s));
    }
    EnterFile("D100,3,1\n");
    int presses = 0;
    std::function<void()> press = [&] {
        if (++presses < 20) WhenEventsRun(press);
        Run();
    };
    press();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 8));
    while (presses < 20) QCoreApplication::processEvents();
}

TEST_F(BatchWindow, AHiddenRunGoesOnAndAClosedOneEndsWithoutATrace)
{
    EnterFile(QByteArray("D100,3,1\n").repeated(5));
    WhenEventsRun([this] { Press("cmdClose"); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 5));
    for (const bool atOnce : {false, true}) {
        if (!m_Form) Open();
        EnterFile(QByteArray("D100,3,1\n").repeated(5));
        WhenEventsRun([&] {
            WhenEventsRun([&] { atOnce ? delete m_Form.data() : ChildWindow::UnloadAll(); });
            Run();
        });
        Run();
        EXPECT_EQ(TakeLog(), LineLog(u"D100"_s, 2));
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_FALSE(m_Form);
    }
}

TEST_F(BatchWindow, TheItemBeingWrittenMayBeRemoved)
{
    m_Main.Tree().Remove(m_Controller->Child(0));
    m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
    m_Answer = QMessageBox::Yes; // "Are you sure ?"
    const QPointer<frmItem> item = ChildWindow::Open<frmItem>(m_Controller->Child(0));
    EnterFile(QByteArray("D100,3,1\n").repeated(5));
    WhenEventsRun([&] { item->findChild<QPushButton*>(u"cmdRemove"_s)->click(); });
    Run();
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + QStringList({u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s,
                                                           LineLog(u"D100"_s)[0], u"Item not found: D100"_s}));
    EXPECT_EQ(m_Controller->ChildCount(), 1);
    EXPECT_EQ(ChildWindow::Forms(), QList<ChildWindow*>{m_Form});
    EXPECT_EQ(m_Server.m_LiveObjects, 1);
}

TEST_F(BatchWindow, WhatChangesIsPaintedOnceAFrameAlsoWhileTheRunWaits)
{
    PaintCount paints;
    QLabel label;
    label.installEventFilter(&paints);
    EnterFile(QByteArray("D100,3,1\n").repeated(300'000)); // more than ten frames take
    int lines = 0;
    QTimer line;
    line.callOnTimeout([&] {
        label.setText(QString::number(++lines));
        if (paints.Count >= 10) Press("cmdStop");
    });
    WhenEventsRun([&] {
        label.show(); // as a message box that another window opens, in which the run waits
        EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > 0; }, 10'000));
        paints.Count = 0;
        label.setText(u"b"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > 0; }, 10'000));
        paints.Count = 0;
        line.start(0);
    });
    Run();
    const int during = paints.Count;
    EXPECT_GE(during, 10);
    EXPECT_GT(lines, 2 * during) << "the lines of a frame share a painting";
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.Count > during; }, 10'000)) << "the last lines";
}
