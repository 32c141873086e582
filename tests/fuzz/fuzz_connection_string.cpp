// The connection string of a database. What is shown of it means the same, and never holds the password; neither does
// what is said against it.
#include "server/database/Database.h"
#include "tests/fuzz/Fuzz.h"

namespace {

void Show(const QString& text)
{
    try {
        const DatabaseAddress address(text);
        const DatabaseAddress shown(address.Shown());
        Require(shown.Shown() == address.Shown());
        Require(shown.Place() == address.Place() && shown.Database() == address.Database());
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
    }
}

/// The password stands at the end, where whatever stands before it may swallow it.
void HidePassword(const QString& text)
{
    const QString password = QStringLiteral("c4n4ry");
    QString told;
    try {
        told = DatabaseAddress(text + QStringLiteral(";Pwd=") + password).Shown();
    } catch (const DescribedError& error) {
        told = error.Description();
    }
    Require(text.contains(password) || !told.contains(password));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    const QString text = TextOf(bytes, size);
    Show(text);
    HidePassword(text);
    return 0;
}
