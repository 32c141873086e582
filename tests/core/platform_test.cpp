#include "core/Platform.h"
#include "tests/support/PrintQt.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Platform, APageThatNoBrowserOpensIsOpenedOtherwise)
{
    const QTemporaryDir folder;
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", folder.path().toUtf8() + ':' + path);
    const QUrl page = QUrl::fromLocalFile(u"/a guide/Nürnberg.html"_s);
    for (const int code : {0, 3}) {
        const QString told = folder.filePath(u"told-%1"_s.arg(code));
        QFile opener(folder.filePath(u"xdg-open"_s));
        ASSERT_TRUE(opener.open(QFile::WriteOnly | QFile::Truncate));
        opener.write(u"#!/bin/sh\necho \"$1\" >'%1.part'; mv '%1.part' '%1'; exit %2\n"_s.arg(told).arg(code).toUtf8());
        opener.setPermissions(opener.permissions() | QFile::ExeOwner);
        opener.close();
        bool otherwise = false;
        Platform().OpenInBrowser(page, [&] { otherwise = true; });
        ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(told) && (code == 0 || otherwise); }, 60'000));
        QTest::qWait(50); // for what must not come
        EXPECT_EQ(otherwise, code != 0);
        QFile said(told);
        ASSERT_TRUE(said.open(QFile::ReadOnly));
        EXPECT_EQ(said.readAll().trimmed(), page.toEncoded());
    }
    qputenv("PATH", path);
}
