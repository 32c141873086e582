#include "server/spool/SharedTail.h"

#include "core/automation/Errors.h"
#include "server/database/FolderNames.h"
#include "server/database/SqlValue.h"
#include "server/spool/SpoolFrame.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

/// What stands in the memory. A process may end between any two instructions: a part's bytes count once Used says so.
struct SharedTail::Layout
{
    static constexpr quint64 Mark = 0x56534c5461696c31;

    /// Ends with a zero.
    struct Text
    {
        static constexpr qsizetype Room = 4096;

        std::array<char, Room> Bytes;

        void Set(const QString& text)
        {
            const QByteArray utf8 = text.toUtf8().left(Room - 1);
            std::ranges::copy(utf8, Bytes.begin());
        }
        QString Get() const { return QString::fromUtf8(QByteArray(Bytes.data())); }
    };

    struct Part
    {
        std::atomic<quint64> Used;
        std::array<char, PartBytes> Frames; ///< see EncodeFrame, a value each

        QByteArrayView InUse() const
        {
            return {Frames.data(), static_cast<qsizetype>(std::min<quint64>(Used, Frames.size()))};
        }
    };

    std::atomic<quint64> Known; ///< Mark, once all the rest is there
    std::atomic<quint64> Safe;  ///< the values up to there need no rescue
    qint64 Begin;               ///< milliseconds since 1970
    Text Root;
    Text Destination;
    std::array<Part, Parts> Filled;

    /// In order.
    QByteArray UnsafeFrames() const;
};

QByteArray SharedTail::Layout::UnsafeFrames() const
{
    std::vector<std::pair<quint64, QByteArrayView>> frames;
    for (const Part& part : Filled) {
        const QByteArrayView bytes = part.InUse();
        for (qsizetype at = FindFrame(bytes, 0); at >= 0;) {
            const auto header = FrameHeader::Read(bytes.sliced(at));
            if (header->First > Safe) frames.emplace_back(header->First, bytes.sliced(at, header->FrameBytes()));
            at = FindFrame(bytes, at + header->FrameBytes());
        }
    }
    std::ranges::sort(frames, {}, &std::pair<quint64, QByteArrayView>::first);
    QByteArray all;
    for (const auto& [sequence, frame] : frames) all += frame;
    return all;
}

namespace {

constexpr char Prefix[] = "velsql-tail-";
constexpr time_t LongestMaking = 60; // seconds

/// As shm_open has it.
QByteArray NameOf(quint64 spool)
{
    return QByteArray("/") + Prefix + QByteArray::number(spool, 16).rightJustified(16, '0');
}

[[noreturn]] void ThrowReason(int code)
{
    throw DescribedError(QStringLiteral("shared memory: ") + qt_error_string(code));
}

} // namespace

class SharedTail::Mapping
{
public:
    explicit Mapping(int file)
        : m_File(file)
    {
        if (m_File < 0) ThrowReason(errno);
    }
    ~Mapping()
    {
        if (m_Layout) munmap(m_Layout, sizeof(Layout));
        close(m_File);
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    static std::unique_ptr<Mapping> Make(const QByteArray& name)
    {
        auto made = std::make_unique<Mapping>(shm_open(name.constData(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR));
        try {
            made->Hold();
            // What is not reserved would end the process when it is used.
            if (const int problem = posix_fallocate(made->m_File, 0, off_t{sizeof(Layout)}); problem != 0)
                ThrowReason(problem);
            made->Map();
            return made;
        } catch (const DescribedError&) {
            shm_unlink(name.constData());
            throw;
        }
    }

    /// Null when there is none, or it has not been filled, or not by this user.
    static std::unique_ptr<Mapping> Open(const QByteArray& name, time_t now)
    {
        const int file = shm_open(name.constData(), O_RDWR, 0);
        if (file < 0 && (errno == ENOENT || errno == EACCES)) return nullptr;
        auto opened = std::make_unique<Mapping>(file);
        struct stat status = {};
        if (fstat(opened->m_File, &status) != 0) ThrowReason(errno);
        const bool isOurs = status.st_uid == geteuid();
        const bool hasRoom = status.st_size == off_t{sizeof(Layout)};
        if (!isOurs || (!hasRoom && status.st_size > 0)) return nullptr;
        if (hasRoom) opened->Map();
        if (hasRoom && opened->m_Layout->Known == Layout::Mark) return opened;
        // Its server was killed in the making.
        if (status.st_ctime < now - LongestMaking && opened->Hold()) shm_unlink(name.constData());
        return nullptr;
    }

    Layout& Memory() const { return *m_Layout; }
    /// Returns false when another process holds it.
    bool Hold() const { return flock(m_File, LOCK_EX | LOCK_NB) == 0; }

private:
    void Map()
    {
        void* memory = mmap(nullptr, sizeof(Layout), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, m_File, 0);
        if (memory == MAP_FAILED) ThrowReason(errno);
        m_Layout = static_cast<Layout*>(memory);
    }

    const int m_File;
    Layout* m_Layout = nullptr;
};

SharedTail::SharedTail(quint64 spool, const QString& root, const QString& destination)
    : m_Name(NameOf(spool))
    , m_Mapping(Mapping::Make(m_Name))
    , m_Layout(m_Mapping->Memory())
{
    m_Layout.Begin = QDateTime::currentMSecsSinceEpoch();
    m_Layout.Root.Set(QDir(root).absolutePath());
    m_Layout.Destination.Set(destination);
    m_Layout.Known = Layout::Mark;
}

SharedTail::~SharedTail()
{
    shm_unlink(m_Name.constData());
}

bool SharedTail::Add(quint64 sequence, const RecordedValue& value)
{
    if (SizeOf(value.Value) > LargestValue) return false;
    EncodeFrame(sequence, std::span(&value, 1), m_Frame);
    const quint64 safe = m_Layout.Safe;
    const auto size = static_cast<std::size_t>(m_Frame.size());
    const auto isFull = [&] { return m_Layout.Filled[m_Filling].Used + size > PartBytes; };
    if (m_Last[m_Filling] <= safe) m_Layout.Filled[m_Filling].Used = 0;
    if (isFull()) {
        const std::size_t other = (m_Filling + 1) % Parts;
        if (m_Last[other] > safe) return false;
        m_Filling = other;
        m_Layout.Filled[m_Filling].Used = 0;
        if (isFull()) return false;
    }
    Layout::Part& part = m_Layout.Filled[m_Filling];
    std::memcpy(part.Frames.data() + part.Used, m_Frame.constData(), size);
    part.Used += size;
    m_Last[m_Filling] = sequence;
    return true;
}

void SharedTail::NoteSafe(quint64 sequence)
{
    quint64 safe = m_Layout.Safe;
    while (safe < sequence && !m_Layout.Safe.compare_exchange_weak(safe, sequence)) {
    }
}

SharedTail::Left::Left(quint64 spool, std::unique_ptr<Mapping> memory)
    : Spool(spool)
    , Destination(memory->Memory().Destination.Get())
    , Begin(memory->Memory().Begin)
    , Frames(memory->Memory().UnsafeFrames())
    , Memory(std::move(memory))
{
}

SharedTail::Left::Left(Left&&) noexcept = default;
SharedTail::Left::~Left() = default;

void SharedTail::Left::Forget() const
{
    shm_unlink(NameOf(Spool).constData());
}

std::vector<SharedTail::Left> SharedTail::LeftIn(const QString& root,
                                                 const std::function<bool(const QString&)>& isWanted)
{
    std::vector<Left> all;
    const QString path = QDir(root).absolutePath();
    // Asked for once, whatever other servers have there: a driven clock moves when it is read.
    const time_t now = time(nullptr);
    for (const QString& file : NamesIn(QStringLiteral("/dev/shm"))) {
        if (!file.startsWith(QLatin1StringView(Prefix))) continue;
        const quint64 spool = file.section(u'-', -1).toULongLong(nullptr, 16);
        auto mapping = Mapping::Open(NameOf(spool), now);
        if (!mapping) continue;
        const Layout& layout = mapping->Memory();
        const bool isHere = layout.Root.Get() == path;
        const bool isOrphan = !isHere && !QFileInfo::exists(layout.Root.Get());
        const bool isAsked = isOrphan || (isHere && isWanted(layout.Destination.Get()));
        if (!isAsked || !mapping->Hold()) continue;
        Left left(spool, std::move(mapping));
        if (isOrphan) left.Forget();
        else all.push_back(std::move(left));
    }
    return all;
}
