#include "scripttool/velsqlscript/ProcessLimits.h"

#include <QByteArray>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Prepared in advance, because nothing can be allocated once they are needed.
QByteArray s_OutOfMemory;
QByteArray s_OutOfStack;
QByteArray s_Crashed;
/// The lowest address that the stack may reach.
std::uintptr_t s_StackEnd = 0;
std::array<std::byte, 65'536> s_HandlerStack;

#ifdef __SANITIZE_ADDRESS__
/// The sanitizer reserves more than any limit, and reports crashes itself.
constexpr bool IsSanitized = true;
#else
constexpr bool IsSanitized = false;
#endif

constexpr std::uintptr_t StackMargin = 1'048'576;
/// The script engine allocates memory in pieces of about this size.
constexpr std::size_t Probe = 16'777'216;

[[noreturn]] void EndWith(const QByteArray& message)
{
    [[maybe_unused]] const auto written =
        write(STDERR_FILENO, message.constData(), static_cast<size_t>(message.size()));
    std::_Exit(EXIT_FAILURE);
}

[[noreturn]] void EndOutOfMemory()
{
    EndWith(s_OutOfMemory);
}

bool IsMemoryUsedUp()
{
    void* memory = mmap(nullptr, Probe, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return true;
    munmap(memory, Probe);
    return false;
}

/// The script engine crashes when it gets no memory, or when its own recursion runs out of stack.
void HandleCrash(int, siginfo_t* info, void*)
{
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    if (info->si_signo == SIGSEGV && address + StackMargin > s_StackEnd && address < s_StackEnd + StackMargin)
        EndWith(s_OutOfStack);
    EndWith(IsMemoryUsedUp() ? s_OutOfMemory : s_Crashed);
}

void HandleTermination()
{
    try {
        if (const auto exception = std::current_exception()) std::rethrow_exception(exception);
    } catch (const std::bad_alloc&) {
        EndOutOfMemory();
    } catch (...) {
        EndWith(s_Crashed);
    }
    EndWith(s_Crashed);
}

void FindStackEnd()
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_attr_getstack(&attributes, &lowest, &size) == 0) s_StackEnd = reinterpret_cast<std::uintptr_t>(lowest);
    pthread_attr_destroy(&attributes);
}

void CatchCrashes()
{
    FindStackEnd();
    const stack_t stack{s_HandlerStack.data(), 0, s_HandlerStack.size()};
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = HandleCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGTRAP, SIGABRT}) sigaction(signal, &action, nullptr);
}

} // namespace

void LimitProcess(int megabytes, const QString& title)
{
    const QByteArray begin = title.toUtf8();
    s_OutOfMemory = begin + ": out of memory: the script needs more than " + QByteArray::number(megabytes) + " MiB\n";
    s_OutOfStack = begin + ": out of stack: something is nested too deeply\n";
    s_Crashed = begin + ": the script engine crashed, perhaps for want of memory\n";
    if (IsSanitized) return;
    std::set_new_handler(EndOutOfMemory);
    std::set_terminate(HandleTermination);
    CatchCrashes();
    const auto bytes = static_cast<rlim_t>(megabytes) * 1024 * 1024;
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_DATA, &limit);
}
