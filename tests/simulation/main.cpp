#include "server/log/Log.h"
#include "tests/simulation/Simulation.h"
#include "tests/simulation/Year.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHashFunctions>
#include <QTemporaryDir>

#include <csignal>
#include <iostream>
#include <malloc.h>
#include <unistd.h>

// There under the address sanitizer only.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

/// So often a seed is played twice in a campaign.
constexpr quint64 BetweenReplays = 16;
/// Of so many seeds the first ones may fill caches; what the others add to the heap is a leak, beyond so many kB.
constexpr quint64 WarmUp = 200;
constexpr qint64 MostGrowth = 200;

quint64 s_Seed = 0;

/// Whatever ends the program says which seed it was.
void SayHowToPlayAgain()
{
    const std::string text = "play it again with: simulation " + std::to_string(s_Seed) + "\n";
    if (write(STDERR_FILENO, text.data(), text.size()) < 0) _exit(3);
}

void DieSaying(int signal)
{
    SayHowToPlayAgain();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void ShowLines(const Trace& trace)
{
    for (const QString& line : trace.Lines()) std::cout << line.toStdString() << '\n';
}

/// Returns whether all that is promised held.
bool Play(quint64 seed, bool isShown)
{
    s_Seed = seed;
    const bool isPlayedTwice = isShown || seed % BetweenReplays == 0;
    Trace first(isShown), second(isShown);
    try {
        Simulate(seed, first);
        if (isPlayedTwice) Simulate(seed, second);
        if (isPlayedTwice && first.Hash() != second.Hash())
            throw BrokenPromise(QStringLiteral("it is not the same twice"));
    } catch (const DescribedError& error) {
        ShowLines(first);
        if (second.Count() > 0) std::cout << "--- the second time:\n", ShowLines(second);
        std::cout << std::flush;
        std::cerr << "seed " << seed << ": " << error.Description().toStdString() << '\n';
        SayHowToPlayAgain();
        return false;
    }
    if (isShown) ShowLines(first);
    return true;
}

/// The sanitizers' heap has no figures, but finds leaks itself.
qint64 HeapInUse()
{
    return static_cast<qint64>(mallinfo2().uordblks) / 1000;
}

int PlayAll(quint64 first, quint64 count)
{
    QElapsedTimer watch;
    watch.start();
    qint64 heap = std::numeric_limits<qint64>::max() / 2; // until it is known
    for (quint64 seed = first; seed < first + count; ++seed) {
        if (!Play(seed, count == 1)) return 1;
        if (seed == first + WarmUp) heap = HeapInUse();
        if (count > 1000 && (seed - first + 1) % 1000 == 0) std::cout << seed - first + 1 << " seeds" << std::endl;
    }
    if (HeapInUse() > heap + MostGrowth) {
        std::cerr << "The heap has grown from " << heap << " kB to " << HeapInUse() << ".\n";
        return 1;
    }
    std::cout << count << " seeds from " << first << " on in " << static_cast<double>(watch.elapsed()) / 1000.0
              << " s\n";
    return 0;
}

} // namespace

/// simulation SEED [COUNT]: plays seeds; a single one twice, and shows it.
/// simulation --days [COUNT]: a server that scans each minute, for so many days.
int main(int argc, char** argv)
{
    QHashSeed::setDeterministicGlobalSeed();
    const QTemporaryDir state;
    qputenv("XDG_STATE_HOME", state.path().toUtf8());
    qputenv("TZ", "Europe/Berlin");
    const QCoreApplication application(argc, argv);
    for (const int signal : {SIGABRT, SIGSEGV}) std::signal(signal, DieSaying);
    if (__sanitizer_set_death_callback) __sanitizer_set_death_callback(SayHowToPlayAgain);
    SetLogLevel(LogLevel::Warning);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QStringLiteral("--days"))
        return RunDays(arguments.value(2, QStringLiteral("365")).toInt()) ? 0 : 1;
    SetLogLevel(LogLevel::Error);
    return PlayAll(arguments.value(1, QStringLiteral("1")).toULongLong(),
                   arguments.value(2, QStringLiteral("1")).toULongLong());
}
