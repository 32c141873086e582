/* Preloaded into a program, it counts how often the program does one kind of operation, and lets the n-th one fail, or
 * the n-th and all that follow. What it does is said by the environment:
 *
 *   ANOMALY_PROGRAM  the program's name; in every other one, such as a child, nothing happens
 *   ANOMALY_KIND     allocation, write, short, sync, name, open, socket or thread
 *   ANOMALY_AT       the n; 0 only counts
 *   ANOMALY_LASTING  present: the following ones fail, too
 *   ANOMALY_WHILE    it counts and strikes only while a file of this name exists; without the variable, always
 *   ANOMALY_BELOW    only paths that begin so count, for the kind open
 *   ANOMALY_REPORT   what was counted and where it struck first. The first line is renewed at each use, so that it is
 *                    right even if the program is killed
 */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

enum Kind
{
    None,
    Allocation,
    Write,
    Short,
    Sync,
    Name,
    Open,
    Socket,
    Thread
};

enum
{
    LargeAllocation = 1 << 20,
    MostFrames = 40,
    LongestHead = 64
};

static const char* const s_Names[] = {"", "allocation", "write", "short", "sync", "name", "open", "socket", "thread"};

static enum Kind s_Kind = None;
static long s_At = 0;
static int s_IsLasting = 0;
static const char* s_While = NULL;
static const char* s_Below = "";
static int s_Report = -1;
static atomic_long s_Uses;
static atomic_long s_Strikes;
/* What the report itself does is no use. */
static __thread int s_IsReporting __attribute__((tls_model("initial-exec")));

__attribute__((constructor)) static void Begin(void)
{
    const char* program = getenv("ANOMALY_PROGRAM");
    const char* kind = getenv("ANOMALY_KIND");
    const char* report = getenv("ANOMALY_REPORT");
    if (!program || !kind || !report || strcmp(program, program_invocation_short_name) != 0) return;
    void* frames[2];
    backtrace(frames, 2); /* so that it loads now what it needs */
    const char* at = getenv("ANOMALY_AT");
    s_At = at ? atol(at) : 0;
    s_IsLasting = getenv("ANOMALY_LASTING") != NULL;
    s_While = getenv("ANOMALY_WHILE");
    s_Below = getenv("ANOMALY_BELOW") ? getenv("ANOMALY_BELOW") : "";
    const int file = (int)syscall(SYS_openat, AT_FDCWD, report, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    s_Report = (int)syscall(SYS_fcntl, file, F_DUPFD_CLOEXEC, 500);
    syscall(SYS_close, file);
    for (enum Kind known = Allocation; known <= Thread; ++known)
        if (strcmp(kind, s_Names[known]) == 0) s_Kind = known;
}

static void TellHead(void)
{
    char head[LongestHead];
    const int length =
        snprintf(head, sizeof head, "uses %010ld strikes %010ld\n", atomic_load(&s_Uses), atomic_load(&s_Strikes));
    syscall(SYS_pwrite64, s_Report, head, (size_t)length, (off_t)0);
}

static void TellPlace(const char* function)
{
    char line[LongestHead];
    const int length = snprintf(line, sizeof line, "%s\n", function);
    void* frames[MostFrames];
    const int count = backtrace(frames, MostFrames);
    syscall(SYS_lseek, s_Report, (off_t)0, SEEK_END);
    syscall(SYS_write, s_Report, line, (size_t)length);
    backtrace_symbols_fd(frames, count, s_Report);
}

/* Counts one use; returns whether it is to fail, with this error. */
static int Strikes(enum Kind kind, const char* function, int error)
{
    if (kind != s_Kind || s_IsReporting) return 0;
    const int before = errno;
    s_IsReporting = 1;
    int strikes = 0;
    if (!s_While || syscall(SYS_access, s_While, F_OK) == 0) {
        const long use = atomic_fetch_add(&s_Uses, 1) + 1;
        strikes = s_At > 0 && (s_IsLasting ? use >= s_At : use == s_At);
        const int isFirst = strikes && atomic_fetch_add(&s_Strikes, 1) == 0;
        TellHead();
        if (isFirst) TellPlace(function);
    }
    s_IsReporting = 0;
    errno = strikes ? error : before;
    return strikes;
}

static int IsRegular(int file)
{
    struct stat status;
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

static int IsFile(enum Kind kind, int file)
{
    return s_Kind == kind && !s_IsReporting && IsRegular(file);
}

static int IsBelow(const char* path)
{
    return s_Kind == Open && path && strncmp(path, s_Below, strlen(s_Below)) == 0;
}

/* The next definition of the function in which it stands. */
#define NEXT(name)                                                                                                     \
    static __typeof__(&name) next = NULL;                                                                              \
    if (!next) *(void**)&next = dlsym(RTLD_NEXT, #name)

/* Passes a call on, unless it is one that fails. */
#define PASS(kind, name, error, failed, ...)                                                                           \
    NEXT(name);                                                                                                        \
    return Strikes(kind, #name, error) ? failed : next(__VA_ARGS__)

/* Memory: the library's own names, because dlsym allocates. */

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static int IsTooLarge(size_t size, const char* function)
{
    return size > LargeAllocation && Strikes(Allocation, function, ENOMEM);
}

void* malloc(size_t size)
{
    return IsTooLarge(size, "malloc") ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    return size > 0 && IsTooLarge(count * size, "calloc") ? NULL : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size)
{
    return IsTooLarge(size, "realloc") ? NULL : __libc_realloc(memory, size);
}

void* reallocarray(void* memory, size_t count, size_t size)
{
    return realloc(memory, count * size);
}

void* memalign(size_t alignment, size_t size)
{
    return IsTooLarge(size, "memalign") ? NULL : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size)
{
    *memory = memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}

/* Files. With the kind short half of the bytes are written, as a system may do any time. */

static size_t Allowed(int file, size_t size, const char* function)
{
    return size > 1 && IsFile(Short, file) && Strikes(Short, function, 0) ? size / 2 : size;
}

ssize_t write(int file, const void* bytes, size_t size)
{
    NEXT(write);
    if (IsFile(Write, file) && Strikes(Write, "write", ENOSPC)) return -1;
    return next(file, bytes, Allowed(file, size, "write"));
}

ssize_t pwrite(int file, const void* bytes, size_t size, off_t at)
{
    NEXT(pwrite);
    if (IsFile(Write, file) && Strikes(Write, "pwrite", ENOSPC)) return -1;
    return next(file, bytes, Allowed(file, size, "pwrite"), at);
}

ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at)
{
    NEXT(pwrite64);
    if (IsFile(Write, file) && Strikes(Write, "pwrite64", ENOSPC)) return -1;
    return next(file, bytes, Allowed(file, size, "pwrite64"), at);
}

ssize_t writev(int file, const struct iovec* parts, int count)
{
    NEXT(writev);
    return IsFile(Write, file) && Strikes(Write, "writev", ENOSPC) ? -1 : next(file, parts, count);
}

/* Calls whose first argument is the file. */
#define ON_FILE(kind, result, name, error, failed, parameters, ...)                                                    \
    result name parameters                                                                                             \
    {                                                                                                                  \
        NEXT(name);                                                                                                    \
        return IsFile(kind, file) && Strikes(kind, #name, error) ? failed : next(__VA_ARGS__);                         \
    }

ON_FILE(Write, int, ftruncate, EIO, -1, (int file, off_t size), file, size)
ON_FILE(Write, int, ftruncate64, EIO, -1, (int file, off64_t size), file, size)
ON_FILE(Write, int, fallocate, ENOSPC, -1, (int file, int mode, off_t at, off_t size), file, mode, at, size)
ON_FILE(Write, int, fallocate64, ENOSPC, -1, (int file, int mode, off64_t at, off64_t size), file, mode, at, size)
ON_FILE(Write, int, posix_fallocate, ENOSPC, ENOSPC, (int file, off_t at, off_t size), file, at, size)
ON_FILE(Write, int, posix_fallocate64, ENOSPC, ENOSPC, (int file, off64_t at, off64_t size), file, at, size)
ON_FILE(Sync, int, fsync, EIO, -1, (int file), file)
ON_FILE(Sync, int, fdatasync, EIO, -1, (int file), file)

ssize_t sendfile64(int to, int from, off64_t* at, size_t count)
{
    static ssize_t (*next)(int, int, off64_t*, size_t) = NULL;
    if (!next) *(void**)&next = dlsym(RTLD_NEXT, "sendfile64");
    return IsFile(Write, to) && Strikes(Write, "sendfile64", ENOSPC) ? -1 : next(to, from, at, count);
}

/* Names of files. */

int rename(const char* from, const char* to)
{
    PASS(Name, rename, EIO, -1, from, to);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to)
{
    PASS(Name, renameat, EIO, -1, fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags)
{
    PASS(Name, renameat2, EIO, -1, fromFolder, from, toFolder, to, flags);
}

int link(const char* from, const char* to)
{
    PASS(Name, link, EIO, -1, from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags)
{
    PASS(Name, linkat, EIO, -1, fromFolder, from, toFolder, to, flags);
}

int unlink(const char* path)
{
    PASS(Name, unlink, EIO, -1, path);
}

int unlinkat(int folder, const char* path, int flags)
{
    PASS(Name, unlinkat, EIO, -1, folder, path, flags);
}

int remove(const char* path)
{
    PASS(Name, remove, EIO, -1, path);
}

int mkdir(const char* path, mode_t mode)
{
    PASS(Name, mkdir, ENOSPC, -1, path, mode);
}

int rmdir(const char* path)
{
    PASS(Name, rmdir, EIO, -1, path);
}

/* Files opened, for reading or for writing. */

#define OPEN(name)                                                                                                     \
    int name(const char* path, int flags, ...)                                                                         \
    {                                                                                                                  \
        va_list rest;                                                                                                  \
        va_start(rest, flags);                                                                                         \
        const mode_t mode = va_arg(rest, mode_t);                                                                      \
        va_end(rest);                                                                                                  \
        NEXT(name);                                                                                                    \
        return IsBelow(path) && Strikes(Open, #name, EMFILE) ? -1 : next(path, flags, mode);                           \
    }

OPEN(open)
OPEN(open64)

#define OPEN_AT(name)                                                                                                  \
    int name(int folder, const char* path, int flags, ...)                                                             \
    {                                                                                                                  \
        va_list rest;                                                                                                  \
        va_start(rest, flags);                                                                                         \
        const mode_t mode = va_arg(rest, mode_t);                                                                      \
        va_end(rest);                                                                                                  \
        NEXT(name);                                                                                                    \
        return IsBelow(path) && Strikes(Open, #name, EMFILE) ? -1 : next(folder, path, flags, mode);                   \
    }

OPEN_AT(openat)
OPEN_AT(openat64)

int __open_2(const char* path, int flags);
int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

int __open64_2(const char* path, int flags);
int __open64_2(const char* path, int flags)
{
    return open64(path, flags);
}

DIR* opendir(const char* path)
{
    NEXT(opendir);
    return IsBelow(path) && Strikes(Open, "opendir", EMFILE) ? NULL : next(path);
}

/* Sockets, and what threads wake each other with. */

int socket(int domain, int type, int protocol)
{
    PASS(Socket, socket, EMFILE, -1, domain, type, protocol);
}

int socketpair(int domain, int type, int protocol, int pair[2])
{
    PASS(Socket, socketpair, EMFILE, -1, domain, type, protocol, pair);
}

int connect(int file, const struct sockaddr* address, socklen_t size)
{
    PASS(Socket, connect, ECONNREFUSED, -1, file, address, size);
}

int bind(int file, const struct sockaddr* address, socklen_t size)
{
    PASS(Socket, bind, EACCES, -1, file, address, size);
}

int listen(int file, int count)
{
    PASS(Socket, listen, EADDRINUSE, -1, file, count);
}

int accept(int file, struct sockaddr* address, socklen_t* size)
{
    PASS(Socket, accept, EMFILE, -1, file, address, size);
}

int accept4(int file, struct sockaddr* address, socklen_t* size, int flags)
{
    PASS(Socket, accept4, EMFILE, -1, file, address, size, flags);
}

ssize_t send(int file, const void* bytes, size_t size, int flags)
{
    PASS(Socket, send, ENOBUFS, -1, file, bytes, size, flags);
}

ssize_t sendmsg(int file, const struct msghdr* message, int flags)
{
    PASS(Socket, sendmsg, ENOBUFS, -1, file, message, flags);
}

int epoll_create1(int flags);
int epoll_create1(int flags)
{
    PASS(Socket, epoll_create1, EMFILE, -1, flags);
}

int eventfd(unsigned count, int flags)
{
    PASS(Socket, eventfd, EMFILE, -1, count, flags);
}

int pipe2(int ends[2], int flags)
{
    PASS(Socket, pipe2, EMFILE, -1, ends, flags);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*work)(void*), void* argument)
{
    PASS(Thread, pthread_create, 0, EAGAIN, thread, attributes, work, argument);
}
