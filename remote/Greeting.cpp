#include "remote/Greeting.h"

#include "core/automation/Errors.h"

#include <pwd.h>
#include <unistd.h>

namespace {

/// Begins with a character that start-up files hardly write.
const QByteArray s_Mark = QByteArrayLiteral("\036VELSQL-BRIDGE ");
constexpr qsizetype MostBefore = 1024 * 1024;
constexpr qsizetype LongestLine = 1000;

QString UserName()
{
    const passwd* user = getpwuid(geteuid());
    return user ? QString::fromLocal8Bit(user->pw_name) : QString::number(geteuid());
}

} // namespace

Greeting Greeting::Own()
{
    return {OwnProtocol, QStringLiteral(VELSQL_VERSION), UserName()};
}

QByteArray Greeting::Encode() const
{
    return s_Mark + QStringLiteral("%1 %2 %3\n").arg(Protocol).arg(Version, User).toUtf8();
}

std::optional<Greeting> GreetingReader::Add(const QByteArray& bytes)
{
    m_Bytes += bytes;
    const qsizetype begin = m_Bytes.indexOf(s_Mark);
    if (begin < 0 && m_Bytes.size() > MostBefore)
        throw DescribedError(
            QStringLiteral("Its shell's start-up files write more than 1 MB, and no bridge follows: \"%1\"")
                .arg(Before()));
    if (begin < 0) return {};
    const qsizetype from = begin + s_Mark.size();
    const qsizetype end = m_Bytes.indexOf('\n', from);
    const bool isTooLong = (end < 0 ? m_Bytes.size() : end) - from > LongestLine;
    const QStringList words = QString::fromUtf8(m_Bytes.mid(from, end - from)).split(u' ');
    if (isTooLong || (end >= 0 && words.size() < 3)) throw DescribedError(QStringLiteral("Its greeting is not clear."));
    if (end < 0) return {};
    m_Bytes.remove(0, end + 1);
    return Greeting{words[0].toInt(), words[1], words.mid(2).join(u' ')};
}

QString GreetingReader::Before() const
{
    constexpr qsizetype enough = 200;
    return QString::fromUtf8(m_Bytes.first(std::min(enough, m_Bytes.size()))).simplified();
}
