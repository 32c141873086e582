#include "guide/Guide.h"

#include "core/Platform.h"
#include "guide/frmGuide.h"

#include <QDir>
#include <QPointer>

Guide::Guide(Platform& system)
    : m_System(system)
{
}

Guide::~Guide() = default;

void Guide::Open(const QString& page)
{
    const QString file = QDir(m_System.GuideFolder()).filePath(page);
    // What was opened without a browser goes on without one; a page that is missing is told of by the window.
    if ((m_Window && m_Window->isVisible()) || !QFile::exists(file)) return OpenInWindow(page);
    m_System.OpenInBrowser(QUrl::fromLocalFile(file), [self = QPointer<Guide>(this), page] {
        if (self) self->OpenInWindow(page);
    });
}

void Guide::Close()
{
    if (m_Window) m_Window->close();
}

void Guide::OpenInWindow(const QString& page)
{
    if (!m_Window) m_Window = std::make_unique<frmGuide>(m_System.GuideFolder());
    m_Window->ShowPage(page);
}
