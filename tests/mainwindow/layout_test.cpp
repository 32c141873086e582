#include "mainwindow/DragBar.h"
#include "tests/mainwindow/Console.h"

namespace {

void Move(DragBar& bar, const QPoint& place, Qt::MouseButtons buttons)
{
    QMouseEvent move(QEvent::MouseMove, place, bar.mapToGlobal(place), Qt::NoButton, buttons, {});
    QApplication::sendEvent(&bar, &move);
}

void Drag(DragBar& bar, const QPoint& offset)
{
    QTest::mousePress(&bar, Qt::LeftButton, {}, {1, 1});
    Move(bar, offset, Qt::LeftButton);
    QTest::mouseRelease(&bar, Qt::LeftButton, {}, offset);
}

} // namespace

TEST_F(Console, PanesComeAndGo)
{
    StartActive();
    const auto visible = [&] {
        QStringList names;
        for (const char* name : {"lblObject", "treeObject", "picVBar", "mdiChildren", "picHBar", "lblLog", "txtLog"})
            if (Control<QWidget>(name).isVisible()) names << QString::fromLatin1(name);
        return names.join(u' ');
    };
    Trigger("mnuView_2");
    EXPECT_EQ(visible(), u"mdiChildren picHBar lblLog txtLog"_s);
    EXPECT_EQ(m_Main->ChildArea().width(), Control<QWidget>("picFrame").width());
    Trigger("mnuView_3");
    EXPECT_EQ(visible(), u"mdiChildren"_s);
    EXPECT_EQ(m_Main->ChildArea().size(), Control<QWidget>("picFrame").size());
    Trigger("mnuView_2");
    Trigger("mnuView_3");
    EXPECT_EQ(visible(), u"lblObject treeObject picVBar mdiChildren picHBar lblLog txtLog"_s);
}

TEST_F(Console, BarsAreDraggedWithinTheirLimits)
{
    StartActive();
    auto& bar = Control<DragBar>("picHBar");
    const int top = bar.y();
    Drag(bar, {0, -40});
    Move(bar, {0, -9}, Qt::NoButton); // the drag ended with the button
    EXPECT_EQ(bar.y(), top - 40);
    EXPECT_EQ(m_Main->ChildArea().height(), top - 40);
    Drag(bar, {0, -5000});
    EXPECT_NEAR(bar.y(), 262 * bar.fontMetrics().height() / 255.0, 1); // 262 twips, 255 of which are a row
    Drag(bar, {0, 50000});
    EXPECT_EQ(bar.geometry().bottom() + 1, Control<QWidget>("picFrame").height());

    auto& vertical = Control<DragBar>("picVBar");
    Drag(vertical, {-5000, 0});
    EXPECT_EQ(vertical.x(), 0);
}
