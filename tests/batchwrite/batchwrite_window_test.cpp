#include "tests/batchwrite/BatchWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QTest>
#include <QTimer>

namespace {

class BatchWriteWindow : public BatchWindow
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
        Control("cmdOpen").click();
    }
};

} // namespace

TEST_F(BatchWriteWindow, NamesItsControllerInTheTitleAsItIs)
{
    EXPECT_EQ(frmBatchWrite().windowTitle(), u"Batch Write"_s);
    m_Main->Widget()->show();
    m_Form->ShowForm();
    m_Form->SetTargetController(u"Lab [*] <b>&Test"_s);
    EXPECT_EQ(m_Form->windowTitle(), u"Batch Write (Lab [*][*] <b>&Test)"_s); // shown with one "[*]"
}

TEST_F(BatchWriteWindow, TheFileDialogStartsInTheProgramsFolderAndShowsTheWholeFilterAsOneEntry)
{
    Filename().setText(u"old"_s);
    Choose([](QFileDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), u"Open"_s);
        EXPECT_EQ(dialog.directory().absolutePath(), QCoreApplication::applicationDirPath());
        EXPECT_EQ(dialog.defaultSuffix(), u"txt"_s);
        const auto& types = *dialog.findChild<QComboBox*>(u"fileTypeCombo"_s);
        EXPECT_EQ(types.count(), 1);
        EXPECT_EQ(types.currentText(), u"テキスト(*.txt),*.txt"_s);
        dialog.reject();
    });
    EXPECT_EQ(Filename().text(), u"old"_s);
}

TEST_F(BatchWriteWindow, TheFileDialogFindsTextFilesAndItsChoiceIsTaken)
{
    EnterFile("D100,3,1");
    const QString path = Filename().text();
    QFile::copy(path, m_Folder.filePath(u"list.csv"_s));
    Choose([&](QFileDialog& dialog) {
        dialog.setDirectory(m_Folder.path());
        auto& files = *dialog.findChild<QAbstractItemView*>(u"listView"_s);
        EXPECT_TRUE(QTest::qWaitFor([&] { return files.model()->rowCount(files.rootIndex()) > 0; }, 3000));
        EXPECT_EQ(files.model()->rowCount(files.rootIndex()), 1);
        dialog.findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(path);
        static_cast<QDialog&>(dialog).accept();
    });
    EXPECT_EQ(Filename().text(), path);
    EXPECT_EQ(TakeLog(), QStringList());
}

TEST_F(BatchWriteWindow, CloseHidesAndKeepsTheFileName)
{
    m_Main->Widget()->show();
    m_Form->ShowForm();
    Filename().setText(u"list"_s);
    Control("cmdClose").click();
    ASSERT_TRUE(m_Form);
    EXPECT_FALSE(m_Form->isVisible());
    m_Form->ShowForm();
    EXPECT_TRUE(m_Form->isVisible());
    EXPECT_EQ(Filename().text(), u"list"_s);
}
