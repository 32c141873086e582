#include "scripttool/velsqlscript/QueryProgress.h"

#include "resulttext/RowCount.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr qint64 BetweenMs = 200;

} // namespace

QueryProgress::QueryProgress(bool areRowsOnStandardOutput)
    : m_IsShown(isatty(STDERR_FILENO) && !(areRowsOnStandardOutput && isatty(STDOUT_FILENO)))
{
    Show(QStringLiteral("Execute..."));
}

void QueryProgress::ShowRows(qint64 count)
{
    if (m_SinceShown.isValid() && !m_SinceShown.hasExpired(BetweenMs)) return;
    m_SinceShown.start();
    Show(CountOfRows(count) + QStringLiteral("..."));
}

void QueryProgress::Finish(const QString& text)
{
    Show(text);
    if (m_IsShown) std::fputc('\n', stderr);
    m_Width = 0;
}

void QueryProgress::Clear()
{
    if (m_Width > 0) Show(QString());
}

void QueryProgress::Show(const QString& text)
{
    if (!m_IsShown) return;
    if (m_Width > 0) std::fprintf(stderr, "\r%*s\r", static_cast<int>(m_Width), "");
    std::fputs(qPrintable(text), stderr);
    std::fflush(stderr);
    m_Width = text.size();
}
