#include "core/Platform.h"
#include "tests/support/PrintQt.h"

#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// All that the expression captures in the file.
QStringList Captures(const QString& page, const QString& expression)
{
    QFile file(page);
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << page.toStdString();
    const QString content = QString::fromUtf8(file.readAll());
    QStringList captures;
    for (const auto& match : QRegularExpression(expression).globalMatch(content)) captures << match.captured(1);
    return captures;
}

} // namespace

TEST(Pages, EveryLinkLeadsToAPlaceInThem)
{
    const QDir guide(Platform().GuideFolder());
    int links = 0;
    for (QDirIterator pages(guide.path(), {u"*.html"_s}, QDir::Files, QDirIterator::Subdirectories); pages.hasNext();) {
        const QString page = pages.next();
        for (const QString& link : Captures(page, u"(?:href|src|srcset)=\"([^\"]*)\""_s)) {
            const QString way = link.section(u'#', 0, 0), place = link.section(u'#', 1);
            const QString target = way.isEmpty() ? page : QDir::cleanPath(QFileInfo(page).path() + u'/' + way);
            EXPECT_TRUE(target.startsWith(guide.path() + u'/') && QFile::exists(target) &&
                        (place.isEmpty() || Captures(target, u" id=\"([^\"]*)\""_s).count(place) == 1))
                << page.toStdString() << " leads to " << link.toStdString();
            ++links;
        }
    }
    EXPECT_GT(links, 100);
}
