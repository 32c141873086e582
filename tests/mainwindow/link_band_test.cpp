#include "mainwindow/LinkBand.h"
#include "tests/mainwindow/Console.h"

namespace {

using LinkBandTest = Console;

TEST_F(LinkBandTest, TellsBelowTheToolbarOfTheLinkAndNothingElseChanges)
{
    StartActive();
    const QString caption = m_Main->windowTitle();
    LinkBand::State state{u"alice@plant"_s, {}, true};
    auto* band = new LinkBand(*m_Main, [&] { return state; });
    const QToolBar& toolbar = Control<QToolBar>("tlbar");
    EXPECT_TRUE(QTest::qWaitFor([&] { return band->isVisible() && band->width() > m_Main->width() - 20; }));
    EXPECT_GE(band->mapTo(&*m_Main, QPoint()).y(), toolbar.geometry().bottom());
    EXPECT_EQ(m_Main->windowTitle(), caption);

    QSet<QRgb> colours;
    for (const auto& [next, text] : {
             std::pair{state, u"Server on alice@plant"_s},
             {{u"alice@plant"_s, u"It is older"_s, true}, u"Server on alice@plant. It is older"_s},
             {{u"alice@plant"_s, u"<b>No"_s}, u"The server on alice@plant cannot be reached: <b>No"_s},
         }) {
        state = next;
        EXPECT_TRUE(QTest::qWaitFor([&] { return band->accessibleName() == text; })) << text.toStdString();
        EXPECT_EQ(band->toolTip(), u"<qt>%1</qt>"_s.arg(text.toHtmlEscaped()));
        colours.insert(band->grab().toImage().pixel(1, 1));
    }
    EXPECT_EQ(colours.size(), 3);
}

} // namespace
