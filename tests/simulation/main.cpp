#include "server/log/Log.h"
#include "tests/simulation/Simulation.h"
#include "tests/simulation/Year.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHashFunctions>
#include <QTemporaryDir>

#include <csignal>
#include <iostream>
#include <malloc.h>
#include <sys/personality.h>
#include <sys/wait.h>
#include <unistd.h>

// There under the address sanitizer only.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

/// So often a seed is played twice in a campaign, and so often again and again to see what that adds to the heap.
constexpr quint64 BetweenReplays = 32;
constexpr quint64 BetweenHeapLooks = 256;
/// What one more run may add, in bytes: there are caches.
constexpr std::size_t MostGrowth = 20'000;

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

/// The hash of a run. Throws DescribedError when what is promised did not hold.
quint64 PlayHere(quint64 seed, bool isShown)
{
    Trace trace(isShown);
    try {
        Simulate(seed, trace);
    } catch (const DescribedError&) {
        ShowLines(trace);
        throw;
    }
    if (isShown) ShowLines(trace);
    return trace.Hash();
}

void CheckHeap(quint64 seed)
{
    std::array<std::size_t, 5> heap{};
    for (std::size_t& bytes : heap) {
        PlayHere(seed, false);
        bytes = mallinfo2().uordblks;
    }
    for (std::size_t i = 2; i < heap.size(); ++i) // the first ones fill caches
        if (heap[i] <= heap[i - 1] + MostGrowth) return;
    throw BrokenPromise(
        QStringLiteral("each time more of the heap is in use, last %1 bytes instead of %2").arg(heap[4]).arg(heap[3]));
}

/// In a process of its own that begins like all others, whatever was played before; none when something did not hold.
std::optional<quint64> Play(quint64 seed, bool isShown, bool looksAtHeap = false)
{
    s_Seed = seed;
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw DescribedError(qt_error_string());
    const pid_t child = fork();
    if (child == 0) {
        try {
            const quint64 hash = PlayHere(seed, isShown);
            if (looksAtHeap) CheckHeap(seed);
            std::cout << std::flush;
            _exit(write(ends[1], &hash, sizeof(hash)) == sizeof(hash) ? 0 : 3);
        } catch (const DescribedError& error) {
            std::cout << std::flush;
            std::cerr << "seed " << seed << ": " << error.Description().toStdString() << std::endl;
            _exit(1);
        }
    }
    close(ends[1]);
    quint64 hash = 0;
    const bool isDone = read(ends[0], &hash, sizeof(hash)) == sizeof(hash);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (isDone) return hash;
    SayHowToPlayAgain();
    return std::nullopt;
}

int PlayAll(quint64 first, quint64 count)
{
    QElapsedTimer watch;
    watch.start();
    if (!Play(0, false)) return 1;
    Trace once(false);
    Simulate(0, once); // what a process makes only once
    quint64 all = 0;
    for (quint64 seed = first; seed < first + count; ++seed) {
        const bool isTwice = count == 1 || seed % BetweenReplays == 0;
        const auto hash = Play(seed, count == 1);
        if (!hash) return 1;
        if (isTwice && Play(seed, false, seed % BetweenHeapLooks == 0) != hash) {
            std::cerr << "seed " << seed << ": it is not the same twice\n";
            return 1;
        }
        all = all * 31 + *hash;
        if (count > 1000 && (seed - first + 1) % 1000 == 0) std::cout << seed - first + 1 << " seeds" << std::endl;
    }
    std::cout << count << " seeds from " << first << " on in " << static_cast<double>(watch.elapsed()) / 1000.0
              << " s, hash " << std::hex << all << '\n';
    return 0;
}

/// Where things lie in memory is the same in all processes from now on.
void LieStill(char** argv)
{
    const int now = personality(0xFFFFFFFF);
    if (now < 0 || now & ADDR_NO_RANDOMIZE) return;
    if (personality(static_cast<unsigned long>(now) | ADDR_NO_RANDOMIZE) >= 0) execv("/proc/self/exe", argv);
}

} // namespace

/// simulation SEED [COUNT]: plays seeds; a single one twice, and shows it.
/// simulation --days [COUNT]: a server that scans each minute, for so many days.
int main(int argc, char** argv)
{
    LieStill(argv);
    QHashSeed::setDeterministicGlobalSeed();
    if (const QFileInfo memory(QStringLiteral("/dev/shm")); memory.isWritable()) qputenv("TMPDIR", "/dev/shm");
    const QTemporaryDir state;
    qputenv("XDG_STATE_HOME", state.path().toUtf8());
    qputenv("TZ", "Europe/Berlin");
    const QCoreApplication application(argc, argv);
    mallopt(M_PERTURB, 0x5A); // who uses what has been given back does not get away with it
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
