#include "tests/simulation/DrivenThreads.h"

#include "tests/simulation/Random.h"

#include <dlfcn.h>
#include <linux/futex.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using DrivenTime::Duration;
using namespace std::chrono_literals;

constexpr auto Never = Duration::max();
/// Of locks that are given back, so many until others may go on.
constexpr quint64 UsualUnlocks = 256;

struct Thread
{
    sem_t Turn{};
    pthread_t Id{};
    // What it waits for while others run.
    const void* On = nullptr; ///< a lock, a condition or a futex
    std::span<const pollfd> Sockets = {};
    Duration Until = Never;
    bool IsWoken = true;
    int ExitsLeft = 3;
};

std::vector<Thread*> s_Threads;
thread_local Thread* t_Self = nullptr;
pthread_key_t s_Key{};

/// What the system or a library has under that name.
template <typename Function>
Function* Real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Those that can go on, and the time when another one can.
std::pair<std::vector<Thread*>, Duration> Ready()
{
    static std::vector<pollfd> sockets;
    sockets.clear();
    for (const Thread* thread : s_Threads)
        sockets.insert(sockets.end(), thread->Sockets.begin(), thread->Sockets.end());
    const timespec atOnce{};
    ppoll(sockets.data(), sockets.size(), &atOnce, nullptr);
    auto socket = sockets.cbegin();
    std::pair<std::vector<Thread*>, Duration> found{{}, Never};
    for (Thread* thread : s_Threads) {
        bool isReady = thread->IsWoken || thread->Until <= DrivenTime::Passed();
        for (std::size_t i = 0; i < thread->Sockets.size(); ++i) isReady |= (socket++)->revents != 0;
        if (isReady) found.first.push_back(thread);
        found.second = std::min(found.second, thread->Until);
    }
    return found;
}

Thread& Next()
{
    while (true) {
        auto [ready, then] = Ready();
        if (!ready.empty()) return *DrivenTime::Chance().OneOf(ready);
        if (then == Never) {
            fputs("All threads wait for ever: nothing is due and nobody could wake them up.\n", stderr);
            abort();
        }
        DrivenTime::Pass(then - DrivenTime::Passed());
    }
}

/// Others run. Returns whether it was woken.
bool Wait(const void* on, std::span<const pollfd> sockets, Duration until, bool isWoken = false)
{
    Thread& self = *t_Self;
    self.On = on;
    self.Sockets = sockets;
    self.Until = until;
    self.IsWoken = isWoken;
    Thread& next = Next();
    if (&next != &self) {
        sem_post(&next.Turn);
        while (sem_wait(&self.Turn) != 0) {
        }
    }
    self.On = nullptr;
    self.Sockets = {};
    return std::exchange(self.IsWoken, true);
}

int Wake(const void* on, int most)
{
    std::vector<Thread*> waiting;
    for (Thread* thread : s_Threads)
        if (thread->On == on && !thread->IsWoken) waiting.push_back(thread);
    int woken = 0;
    for (; woken < most && !waiting.empty(); ++woken) {
        Thread*& chosen = DrivenTime::Chance().OneOf(waiting);
        chosen->IsWoken = true;
        chosen = waiting.back();
        waiting.pop_back();
    }
    return woken;
}

void GiveWay()
{
    if (s_Threads.size() > 1 && DrivenTime::Chance().OneIn(UsualUnlocks)) Wait(nullptr, {}, Never, true);
}

Duration ToDuration(const timespec& time)
{
    return time.tv_sec * 1s + time.tv_nsec * 1ns;
}

/// Since Begin, of a moment of a clock.
Duration When(clockid_t clock, const timespec& moment)
{
    timespec now{};
    clock_gettime(clock, &now);
    return DrivenTime::Passed() + ToDuration(moment) - ToDuration(now);
}

int WaitFor(pthread_cond_t* condition, pthread_mutex_t* mutex, Duration until)
{
    if (!t_Self) abort(); // there is nobody who could wake it up
    static const auto unlock = Real(&pthread_mutex_unlock, "pthread_mutex_unlock");
    unlock(mutex);
    Wake(mutex, INT_MAX);
    const bool isWoken = Wait(condition, {}, until);
    pthread_mutex_lock(mutex);
    return isWoken ? 0 : ETIMEDOUT;
}

struct Work
{
    void* (*Do)(void*);
    void* Argument;
    Thread* Self;
};

void* Live(void* given)
{
    const Work work = *std::unique_ptr<Work>(static_cast<Work*>(given));
    t_Self = work.Self;
    while (sem_wait(&t_Self->Turn) != 0) {
    }
    pthread_setspecific(s_Key, t_Self);
    return work.Do(work.Argument);
}

/// The last thing that a thread does: it comes after all else that ends with it.
void Leave(void*)
{
    if (--t_Self->ExitsLeft > 0) {
        pthread_setspecific(s_Key, t_Self);
        return;
    }
    const std::unique_ptr<Thread> self(std::exchange(t_Self, nullptr));
    std::erase(s_Threads, self.get());
    Wake(reinterpret_cast<const void*>(self->Id), INT_MAX);
    sem_post(&Next().Turn);
}

} // namespace

void DrivenThreads::Begin()
{
    static Thread main;
    static const int made = pthread_key_create(&s_Key, Leave);
    Q_UNUSED(made);
    t_Self = &main;
    s_Threads = {t_Self};
}

void DrivenThreads::End()
{
    if (s_Threads.size() != 1) abort();
    t_Self = nullptr;
}

void DrivenThreads::Wait(std::span<const pollfd> sockets, Duration until)
{
    ::Wait(nullptr, sockets, until);
}

// What the program defines goes before what libraries define, for all libraries that it uses.
#define REPLACED extern "C" [[gnu::visibility("default")]]

REPLACED int pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*work)(void*),
                            void* argument) noexcept
{
    static const auto real = Real(&pthread_create, "pthread_create");
    if (!t_Self) return real(id, attributes, work, argument);
    auto* const self = new Thread;
    const int failure = real(id, attributes, Live, new Work{work, argument, self});
    if (failure) return failure;
    self->Id = *id;
    s_Threads.push_back(self);
    return 0;
}

REPLACED int pthread_join(pthread_t id, void** result)
{
    static const auto real = Real(&pthread_join, "pthread_join");
    const auto lives = [&] { return std::ranges::find(s_Threads, id, &Thread::Id) != s_Threads.end(); };
    while (t_Self && lives()) Wait(reinterpret_cast<const void*>(id), {}, Never);
    return real(id, result);
}

/// A thread that was put aside while it had the lock gives it back sooner or later.
REPLACED int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static const auto real = Real(&pthread_mutex_lock, "pthread_mutex_lock");
    if (!t_Self) return real(mutex);
    int failure = 0;
    while ((failure = pthread_mutex_trylock(mutex)) == EBUSY) Wait(mutex, {}, Never);
    return failure;
}

REPLACED int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    static const auto real = Real(&pthread_mutex_unlock, "pthread_mutex_unlock");
    const int failure = real(mutex);
    if (!t_Self) return failure;
    Wake(mutex, INT_MAX);
    GiveWay();
    return failure;
}

REPLACED int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    return WaitFor(condition, mutex, Never);
}

REPLACED int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                    const timespec* until)
{
    return WaitFor(condition, mutex, When(clock, *until));
}

REPLACED int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until)
{
    return WaitFor(condition, mutex, When(CLOCK_REALTIME, *until));
}

REPLACED int pthread_cond_signal(pthread_cond_t* condition) noexcept
{
    if (t_Self) Wake(condition, 1);
    return 0;
}

REPLACED int pthread_cond_broadcast(pthread_cond_t* condition) noexcept
{
    if (t_Self) Wake(condition, INT_MAX);
    return 0;
}

/// Of the six arguments only those that the call has are there; the others are passed on as they stand.
REPLACED [[gnu::no_sanitize_address]] long syscall(long number, ...) noexcept
{
    static const auto real = Real(&syscall, "syscall");
    long arguments[6];
    va_list list;
    va_start(list, number);
    for (long& argument : arguments) argument = va_arg(list, long);
    va_end(list);
    const auto& [at, operation, value, time, other, bits] = arguments;
    if (!t_Self || number != SYS_futex) return real(number, at, operation, value, time, other, bits);
    const auto* const word = reinterpret_cast<const int*>(at);
    const long what = operation & FUTEX_CMD_MASK;
    if (what == FUTEX_WAKE || what == FUTEX_WAKE_BITSET) return Wake(word, static_cast<int>(value));
    if (*word != static_cast<int>(value)) {
        errno = EAGAIN;
        return -1;
    }
    auto until = Never;
    if (const auto* moment = reinterpret_cast<const timespec*>(time)) {
        const auto clock = operation & FUTEX_CLOCK_REALTIME ? CLOCK_REALTIME : CLOCK_MONOTONIC;
        until = what == FUTEX_WAIT ? DrivenTime::Passed() + ToDuration(*moment) : When(clock, *moment);
    }
    if (Wait(word, {}, until)) return 0;
    errno = ETIMEDOUT;
    return -1;
}
