#include "guide/PageView.h"

#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QImage>
#include <QScrollBar>

namespace {

/// What a window has beside its page: margins and the scroll bar.
constexpr int BesidePage = 100;

bool IsDark(const QPalette& palette)
{
    return palette.color(QPalette::Base).lightness() < 128;
}

QString Mixed(const QPalette& palette, int percentOfText)
{
    const QColor base = palette.color(QPalette::Base), text = palette.color(QPalette::Text);
    const auto mix = [&](int from, int to) { return from + (to - from) * percentOfText / 100; };
    return QColor(mix(base.red(), text.red()), mix(base.green(), text.green()), mix(base.blue(), text.blue())).name();
}

/// The pages' own sheet says more than Qt understands; this one has the desktop's colours.
QString Style(const QPalette& palette)
{
    const QString style = QStringLiteral(
        "h1 { margin-top: 8px; margin-bottom: 8px; }"
        "h2 { margin-top: 24px; margin-bottom: 8px; }"
        "h3 { margin-top: 18px; margin-bottom: 6px; }"
        "p, ul, ol { margin-top: 7px; margin-bottom: 7px; }"
        "pre { background-color: %1; margin-left: 8px; }"
        "code { background-color: %1; }"
        "table { border-collapse: collapse; margin-top: 8px; margin-bottom: 8px;"
        " border-style: solid; border-width: 1px; border-color: %2; }"
        "th, td { padding: 4px; border-style: solid; border-width: 1px; border-color: %2; vertical-align: top; }"
        "th { background-color: %1; text-align: left; }"
        "a { color: %3; }");
    return style.arg(Mixed(palette, 8), Mixed(palette, 25), palette.color(QPalette::Link).name());
}

/// A wider picture is shown smaller, so that a page is as wide as its window.
QImage Picture(const QUrl& name, bool dark, int widest, qreal ratio)
{
    QString file = name.toLocalFile();
    const QString darkFile = QString(file).replace(QStringLiteral("/images/"), QStringLiteral("/images/dark/"));
    if (dark && QFile::exists(darkFile)) file = darkFile;
    QImage picture(file);
    if (picture.width() <= widest) return picture;
    const int dots = std::min(static_cast<int>(widest * ratio), picture.width());
    picture = picture.scaledToWidth(dots, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(static_cast<qreal>(dots) / widest);
    return picture;
}

} // namespace

PageView::PageView(QWidget* parent)
    : QTextBrowser(parent)
{
    document()->setDocumentMargin(16);
    document()->setDefaultStyleSheet(Style(palette()));
}

QString PageView::Page() const
{
    return source().isEmpty() ? QString() : QDir(m_Folder).relativeFilePath(source().toLocalFile());
}

void PageView::ShowPage(const QString& page)
{
    const QString file = QDir(m_Folder).filePath(page);
    if (QFile::exists(file)) return setSource(QUrl::fromLocalFile(file));
    setPlainText(QStringLiteral("This page of the guide is not there:\n\n%1\n\n"
                                "It belongs to the installation of the program, which is incomplete; "
                                "installing the program again brings it back.")
                     .arg(QDir::toNativeSeparators(file)));
    setDocumentTitle(QStringLiteral("Page not found"));
}

bool PageView::IsInFolder(const QUrl& name) const
{
    const QString place = QFileInfo(name.toLocalFile()).canonicalFilePath();
    return name.isLocalFile() && place.startsWith(QFileInfo(m_Folder).canonicalFilePath() + u'/');
}

QVariant PageView::loadResource(int type, const QUrl& name)
{
    if (type == QTextDocument::StyleSheetResource) return {};
    const QUrl whole = source().resolved(name);
    if (!IsInFolder(whole)) return {};
    if (type == QTextDocument::ImageResource)
        return Picture(whole, IsDark(palette()), window()->width() - BesidePage, devicePixelRatioF());
    return QTextBrowser::loadResource(type, whole);
}

void PageView::doSetSource(const QUrl& name, QTextDocument::ResourceType type)
{
    const QUrl whole = source().resolved(name);
    if (IsInFolder(whole)) QTextBrowser::doSetSource(name, type);
    else Q_EMIT Refused(whole);
}

void PageView::changeEvent(QEvent* event)
{
    QTextBrowser::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    document()->setDefaultStyleSheet(Style(palette()));
    if (source().isEmpty()) return;
    const int place = verticalScrollBar()->value();
    reload();
    verticalScrollBar()->setValue(place);
}
