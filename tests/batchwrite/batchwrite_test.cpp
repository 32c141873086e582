#include "batchwrite/frmBatchWrite.h"
#include "item/frmItem.h"
#include "tests/support/WindowTest.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QTemporaryDir>

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
    /// Presses "Start" and returns when the run is over.
    void Run() { Press("cmdStart"); }
    /// The same with a file of this content.
    void Run(const QByteArray& content)
    {
        QFile file(m_Folder.filePath(u"list.txt"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush());
        Type("txtFilename", file.fileName());
        Run();
    }

    QTemporaryDir m_Folder;
};

/// What so many lines of the file cost when all is well.
QStringList LineLog(const QString& item, int lines = 1)
{
    QStringList log;
    for (int line = 0; line < lines; ++line) log << u"Calling Item(%1):put_Value..."_s.arg(item) << u"Succeeded."_s;
    return log;
}

} // namespace

TEST_F(BatchWindow, WritesLineByLineUntilALineOrACallFails)
{
    const QStringList first = LineLog(u"D100"_s);
    Run("D100,3,-7\r\nD200,8,a,b, \"c\" \nD100,0");
    EXPECT_EQ(TakeCalls().join(u' '),
              u"Engine.get_Controller(PLC1) Controller(PLC1).get_Item(D100) Item(D100).put_Value(3,-7) "
              u"Controller(PLC1).get_Item(D200) Item(D200).put_Value(8,a,b, \"c\" ) "
              u"Controller(PLC1).get_Item(D100) Item(D100).put_Value(0,)"_s);
    EXPECT_EQ(TakeLog(), first + LineLog(u"D200"_s) + first);
    EXPECT_EQ(TakeStatus().last(2), QStringList({u"put_Value..."_s, u"Ready."_s}));

    const QString noComma = u"Invalid procedure call or argument: line 2, \"%1\", has no comma"_s;
    const std::pair<QByteArray, QStringList> rows[] = {
        {"", {noComma.arg(QString())}},
        {QByteArray("\x7f\x45\0\x01\xff\n\0", 7), {noComma.arg(QString::fromLatin1("\x7f\x45\0\x01\xff", 5))}},
        {"a\rb" + QByteArray(50, 'x'), {noComma.arg(u"a b"_s + QString(37, u'x'))}},
        {",", {u"Calling Item():put_Value..."_s, u"Item not found: "_s}},
        {"D100,3,x", {first[0], u"VT_I4: \"x\" is not a number"_s}},
        {"D100,8,x", {first[0], u"refused"_s, u"<b>here</b>"_s}}};
    for (const auto& [line, log] : rows) {
        m_Server.FailCall(5, u"refused\r\n<b>here</b>"_s);
        Run("D100,3,1\n" + line + "\nD100,3,2\n");
        EXPECT_EQ(TakeCalls().size(), 2 + log.size()); // the third ones are of the faulty line
        EXPECT_EQ(TakeLog(), first + log);
    }
    EXPECT_EQ(m_Server.m_LiveObjects, 1) << "the engine";
    EXPECT_EQ(m_Main.Status(), u"Ready."_s);
}

TEST_F(BatchWindow, FilesThatCannotBeReadAreDescribedBeforeAnyCall)
{
    const QString pipe = m_Folder.filePath(u"pipe"_s);
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    for (const QString& path : {m_Folder.filePath(u"none.txt"_s), m_Folder.path(), u"/dev/zero"_s, pipe}) {
        Type("txtFilename", path);
        Run();
        const QString reason = QFile::exists(path) ? u"Not a file"_s : u"No such file or directory"_s;
        EXPECT_EQ(TakeLog(), QStringList{u"The file cannot be read: %1: %2"_s.arg(path, reason)});
    }
    Type("txtFilename", {});
    Run(); // does nothing
    Run("");
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList(u"Engine.get_Controller(PLC1)"_s));
    m_Form->SetTargetController(u"Lab [*] <b>&Test"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (Lab [*][*] <b>&Test)"_s); // shown with one "[*]"
    Run();
    EXPECT_EQ(TakeLog(), QStringList({u"Controller \"Lab [*] <b>&Test\": Controller not found: Lab [*] <b>&Test"_s}));
}

TEST_F(BatchWindow, TheFileDialogFindsTextFilesByAFilterThatIsShownWhole)
{
    Run("");
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

TEST_F(BatchWindow, WhateverHappensInBetweenTheRunGoesOnOrEndsWithoutATrace)
{
    const QStringList line = LineLog(u"D100"_s);
    int presses = 0;
    const std::function<void()> nest = [&] {
        if (++presses < 10) WhenEventsRun(nest);
        Run();
    };
    const std::pair<std::function<void()>, QStringList> rows[] = {
        {[this] { Press("cmdClose"); }, LineLog(u"D100"_s, 5)}, // hidden
        {[this] { Run("D200,8,a\nD200,8,b\n"); }, line + LineLog(u"D200"_s, 2) + LineLog(u"D100"_s, 4)},
        {[this] { WhenEventsRun([this] { Press("cmdStop"); }), Run("D200,8,a\nD200,8,b\n"); },
         line + LineLog(u"D200"_s)},
        {nest, LineLog(u"D100"_s, 8 * 5)}, // eight deep
        {[this] { WhenEventsRun(&ChildWindow::UnloadAll), Run(); }, line + line},
        {[this] { WhenEventsRun([this] { delete m_Form.data(); }), Run(); }, line + line},
        {[this] { // the item being written is removed
             m_Main.Tree().Remove(m_Controller->Child(0));
             m_Main.Tree().Insert(m_Controller, 0, u"D100"_s, NodeTag::AddItem);
             m_Answer = QMessageBox::Yes; // "Are you sure ?"
             Press(*ChildWindow::Open<frmItem>(m_Controller->Child(0)), "cmdRemove");
         },
         line + QStringList(
                    {u"Calling Controller:RemoveItem..."_s, u"Succeeded."_s, line[0], u"Item not found: D100"_s})}};
    for (const auto& [act, log] : rows) {
        if (!m_Form) Open();
        WhenEventsRun(act);
        Run(QByteArray("D100,3,1\n").repeated(5));
        EXPECT_EQ(TakeLog(), log);
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(!m_Form, log == line + line);
    }
}
