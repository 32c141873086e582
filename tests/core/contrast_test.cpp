#include "core/ConsoleStyle.h"
#include "core/Contrast.h"
#include "core/ListBox.h"
#include "core/modFields.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStyleOption>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The ratios that the guidelines themselves give for these pairs.
TEST(Contrast, IsThatOfTheGuidelines)
{
    EXPECT_NEAR(Contrast::Ratio(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(Contrast::Ratio(Qt::white, QColor(0x767676)), 4.54, 0.01);
    EXPECT_NEAR(Contrast::Ratio(Qt::red, Qt::white), 4, 0.01);
    EXPECT_EQ(Contrast::Toned(Qt::white, QColor(0xeeeeee), 3), QColor(0xeeeeee)) << "no more than there is";
}

struct Desktop
{
    const char* Name;
    QRgb Text, Window, Base;
    bool FillsTell;
};
const Desktop Desktops[] = {
    {"Fusion light", 0x000000, 0xefefef, 0xffffff, false},
    {"Fusion dark, also by a GTK theme", 0xf0f0f0, 0x323232, 0x242424, false},
    {"high contrast black", 0xffffff, 0x000000, 0x000000, false},
    {"high contrast white", 0x000000, 0xffffff, 0xffffff, false},
    {"classic", 0x000000, 0xc0c0c0, 0xffffff, true},
};

TEST(Contrast, OutlinesAndLabelsTellLockedFieldsWhereFillsDoNot)
{
    QWidget form;
    auto* layout = new QFormLayout(&form);
    const QList<QWidget*> fields = {new QLineEdit, new ListBox};
    for (QWidget* field : fields) layout->addRow(u"Field"_s, field);
    form.show();
    const auto labelText = [&](QWidget* field) {
        return layout->labelForField(field)->palette().color(QPalette::WindowText);
    };
    const auto outline = [&](QWidget* field) { // how far the left edge stands out from the window
        const QColor edge = form.grab().toImage().pixelColor(field->mapTo(&form, QPoint(0, field->height() / 2)));
        return Contrast::Ratio(edge, form.palette().color(QPalette::Window));
    };
    for (const auto& [name, ink, window, base, fillsTell] : Desktops) {
        const QColor text = ink, ground = window;
        const QPalette colours{text, ground, ground.lighter(), ground.darker(), ground.darker(130),
                               text, text,   QColor(base),     ground};
        for (QWidget* field : fields) modMain::EnableField(field);
        form.setPalette(colours); // while the window is open
        form.setFocus();
        for (QWidget* field : fields) {
            SCOPED_TRACE(std::string(name) + field->metaObject()->className());
            const double open = outline(field);
            EXPECT_EQ(labelText(field), text);
            modMain::DisableField(field);
            const QColor dimmed = labelText(field);
            EXPECT_EQ(dimmed == text, fillsTell);
            if (fillsTell) continue;
            EXPECT_GE(open, Contrast::LeastOfOutlines);
            EXPECT_GE(open / outline(field), 2);
            EXPECT_GE(Contrast::Ratio(dimmed, ground), Contrast::LeastOfTexts) << "still to be read";
            EXPECT_GE(Contrast::Ratio(text, dimmed), Contrast::LeastOfFills);
        }
    }
}

TEST(ConsoleStyle, HandlesFramesAndTitlesGrowWithTheFont)
{
    QWidget small, large;
    QFont font;
    font.setPixelSize(12);
    small.setFont(font);
    font.setPixelSize(48);
    large.setFont(font);
    for (const auto metric : {QStyle::PM_SplitterWidth, QStyle::PM_MdiSubWindowFrameWidth, QStyle::PM_TitleBarHeight})
        EXPECT_GE(ConsoleStyle().pixelMetric(metric, nullptr, &large),
                  2 * ConsoleStyle().pixelMetric(metric, nullptr, &small));
}

TEST(ConsoleStyle, ADarkPaletteDoesNotDrawTheActiveTitleTwice)
{
    const auto title = [](const QColor& text) {
        QImage image(300, 30, QImage::Format_RGB32);
        image.fill(Qt::gray);
        QStyleOptionTitleBar bar;
        bar.rect = image.rect();
        bar.text = u"Controller(PLC1)"_s;
        bar.titleBarState = QStyle::State_Active;
        bar.titleBarFlags = Qt::Window | Qt::WindowTitleHint;
        bar.palette.setColor(QPalette::Text, text);
        QPainter painter(&image);
        ConsoleStyle().drawComplexControl(QStyle::CC_TitleBar, &bar, &painter, nullptr);
        return image;
    };
    EXPECT_EQ(title(Qt::white), title(Qt::black)) << "the text's colour is that of the shadow";
}

} // namespace
