#include "core/Platform.h"
#include "tests/support/PrintQt.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// All that the expression captures in the text.
QStringList Captures(const QString& text, const QString& expression)
{
    QStringList captures;
    for (auto matches = QRegularExpression(expression).globalMatch(text); matches.hasNext();)
        captures << matches.next().captured(1);
    return captures;
}

QString Content(const QString& page)
{
    QFile file(page);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList Places(const QString& page)
{
    return Captures(Content(page), u" id=\"([^\"]*)\""_s);
}

} // namespace

TEST(Pages, EveryLinkLeadsToAPlaceInThem)
{
    const QDir guide(Platform().GuideFolder());
    int links = 0;
    for (QDirIterator pages(guide.path(), {u"*.html"_s}, QDir::Files, QDirIterator::Subdirectories); pages.hasNext();) {
        const QString page = pages.next();
        QStringList places = Places(page);
        EXPECT_EQ(places.removeDuplicates(), 0) << page.toStdString();
        for (const QString& link : Captures(Content(page), u"(?:href|src|srcset)=\"([^\"]*)\""_s)) {
            const QString target =
                link.startsWith(u'#') ? page : QFileInfo(page).dir().filePath(link.section(u'#', 0, 0));
            const QString place = link.section(u'#', 1);
            EXPECT_TRUE(QFile::exists(target) && (place.isEmpty() || Places(target).contains(place)))
                << page.toStdString() << " leads to " << link.toStdString();
            EXPECT_FALSE(guide.relativeFilePath(target).startsWith(u".."_s)) << link.toStdString();
            ++links;
        }
    }
    EXPECT_GT(links, 100);
}

TEST(Pages, ExamplesAreShownCharacterByCharacter)
{
    const QString page = Content(Platform().GuideFolder() + u"/scripts/history-report.js.html"_s);
    EXPECT_EQ(Captures(page, u"<pre><code>((?:.|\\n)*?)</code></pre>"_s),
              QStringList(Content(QStringLiteral(VELSQL_DOCS "/scripts/history-report.js")).trimmed().toHtmlEscaped()));
}
