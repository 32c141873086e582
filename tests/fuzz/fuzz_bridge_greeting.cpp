// What a remote shell writes, and then perhaps a bridge's greeting, in pieces as the first byte has it. The pieces do
// not matter; and a greeting is found behind whatever came before.
#include "core/automation/Errors.h"
#include "remote/Greeting.h"
#include "tests/fuzz/Fuzz.h"

#include <algorithm>

namespace {

QString Told(const Greeting& greeting)
{
    return QStringLiteral("%1 %2 %3").arg(greeting.Protocol).arg(greeting.Version, greeting.User);
}

/// What a reader makes of it: the greeting and the rest behind it, or what it says against it.
QString Read(const QByteArray& bytes, qsizetype piece)
{
    GreetingReader reader;
    try {
        for (qsizetype at = 0; at < bytes.size(); at += piece) {
            const auto greeting = reader.Add(bytes.mid(at, piece));
            if (greeting) return Told(*greeting) + QString::fromLatin1(reader.Rest() + bytes.mid(at + piece));
        }
        return QStringLiteral("nothing yet: ") + reader.Before();
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
        return QStringLiteral("refused");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    if (size == 0) return 0;
    const QByteArray said = BytesOf(bytes + 1, size - 1);
    const qsizetype piece = 1 + bytes[0];
    const QString heard = Read(said, std::max<qsizetype>(1, said.size()));
    Require(Read(said, piece) == heard);
    const Greeting own = Greeting::Own();
    if (heard.startsWith(u"nothing yet") && !said.contains('\036'))
        Require(Read(said + own.Encode(), piece) == Told(own));
    return 0;
}
