#include "tests/batchwrite/BatchWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QTimer>

#include <sys/stat.h>

namespace {

const QString Look = u"Engine.get_Controller(PLC1)"_s;

QStringList LineCalls(const QString& item, const QString& value)
{
    return {u"Controller(PLC1).get_Item(%1)"_s.arg(item), u"Item(%1).put_Value(%2)"_s.arg(item, value)};
}

class BatchRun : public BatchWindow
{
protected:
    /// Presses "..." and answers the dialog.
    template <typename Answer>
    void Choose(Answer answer)
    {
        QTimer::singleShot(0, qApp, [answer] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            ASSERT_TRUE(dialog);
            answer(*dialog);
        });
        Press("cmdOpen");
    }
};

} // namespace

TEST_F(BatchRun, WritesLineByLine)
{
    EnterFile("D100,3,-7\r\nD200,8,a,b, \"c\" \nD100,0\nD100,1\r\nD200,8,");
    Run();
    EXPECT_EQ(TakeCalls(), QStringList(Look) + LineCalls(u"D100"_s, u"3,-7"_s) +
                               LineCalls(u"D200"_s, u"8,a,b, \"c\" "_s) + LineCalls(u"D100"_s, u"0,"_s) +
                               LineCalls(u"D100"_s, u"1"_s) + LineCalls(u"D200"_s, u"8,"_s));
    EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + LineLog(u"D200"_s) + LineLog(u"D100"_s, 2) + LineLog(u"D200"_s));
    EXPECT_EQ(TakeStatus().last(2), QStringList({u"put_Value..."_s, u"Ready."_s}));
    EXPECT_EQ(m_Server.m_LiveObjects, 1); // the engine
}

TEST_F(BatchRun, AFaultyLineEndsTheRunWithItsDescription)
{
    const QString noComma = u"Invalid procedure call or argument"_s;
    const struct
    {
        QByteArray Line;
        QStringList Log;
        int Calls; ///< in the faulty line
    } rows[] = {
        {"Item1", {noComma}, 0},
        {"", {noComma}, 0},
        {QByteArray("\x7f\x45\0\x01\xff\n\0", 7), {noComma}, 0},
        {",", {u"Calling Item():put_Value..."_s, u"Item not found: "_s}, 1},
        {"D300,3,1", {u"Calling Item(D300):put_Value..."_s, u"Item not found: D300"_s}, 1},
        {"D100,3,x", {u"Calling Item(D100):put_Value..."_s, u"VT_I4: \"x\" is not a number"_s}, 1},
    };
    for (const auto& row : rows) {
        EnterFile("D100,3,1\n" + row.Line + "\nD100,3,2\n");
        Run();
        EXPECT_EQ(TakeCalls().size(), 3 + row.Calls);
        EXPECT_EQ(TakeLog(), LineLog(u"D100"_s) + row.Log);
    }
}

TEST_F(BatchRun, AFailingCallEndsTheRunWithTheServersDescription)
{
    EnterFile("D100,3,1\nD200,8,x\n");
    for (int call = 1; call <= 5; ++call) {
        SCOPED_TRACE(call);
        m_Server.FailCall(call, u"refused\r\n<b>here</b>"_s);
        Run();
        EXPECT_EQ(TakeCalls().size(), call);
        const QStringList whole = LineLog(u"D100"_s) + LineLog(u"D200"_s);
        EXPECT_EQ(TakeLog(),
                  whole.first(call == 1 ? 0 : (call - 2) / 2 * 2 + 1) + QStringList({u"refused"_s, u"<b>here</b>"_s}));
        EXPECT_EQ(m_Server.m_LiveObjects, 1);
        EXPECT_EQ(m_Main.Status(), u"Ready."_s);
    }
}

TEST_F(BatchRun, FilesThatCannotBeReadAreDescribedBeforeAnyCall)
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
    EXPECT_EQ(TakeCalls() + TakeLog(), QStringList(Look));
    m_Form->SetTargetController(u"PLC9"_s);
    Run();
    EXPECT_EQ(TakeLog(), QStringList({u"Controller not found: PLC9"_s}));
}

TEST_F(BatchRun, TheFileDialogFindsTextFilesByAFilterThatIsShownWhole)
{
    EnterFile("D100,3,1");
    const QString path = Text("txtFilename");
    QFile::copy(path, m_Folder.filePath(u"list.csv"_s));
    Type("txtFilename", u"old"_s);
    Choose([](QFileDialog& dialog) {
        EXPECT_EQ(dialog.directory().absolutePath(), QCoreApplication::applicationDirPath());
        EXPECT_EQ(dialog.findChild<QComboBox*>(u"fileTypeCombo"_s)->currentText(), u"テキスト(*.txt),*.txt"_s);
        dialog.reject();
    });
    EXPECT_EQ(Text("txtFilename"), u"old"_s);
    Choose([&](QFileDialog& dialog) {
        dialog.setDirectory(m_Folder.path());
        auto& files = *dialog.findChild<QAbstractItemView*>(u"listView"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return files.model()->rowCount(files.rootIndex()) == 1; }, 10'000));
        dialog.findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(u"list"_s); // the extension is added
        static_cast<QDialog&>(dialog).accept();
    });
    EXPECT_EQ(Text("txtFilename"), path);
}

TEST_F(BatchRun, TheTitleNamesTheControllerAsItIs)
{
    m_Form->SetTargetController(u"Lab [*] <b>&Test"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (Lab [*][*] <b>&Test)"_s); // shown with one "[*]"
}
