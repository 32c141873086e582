#pragma once

#include "server/database/RecordedValue.h"

#include <QByteArray>

#include <array>
#include <functional>
#include <memory>
#include <vector>

/// The newest values of one spool, in shared memory, which stays when the process is killed: whoever takes the spool
/// over puts them on disk. It costs the event loop a copy of each value, and no call of the system.
class SharedTail
{
    class Mapping;

public:
    /// Memory for values, in bytes. It is reserved at once, so that using it cannot fail later.
    static constexpr qint64 Bytes = 8 * 1024 * 1024;
    /// A larger value, in bytes, would keep the event loop busy.
    static constexpr qint64 LargestValue = 256 * 1024;

    /// What a server that was killed has left; nobody else gets it meanwhile.
    struct Left
    {
        quint64 Spool = 0;
        QString Destination;
        qint64 Begin = 0;  ///< when its server made it, milliseconds since 1970
        QByteArray Frames; ///< the values that are neither written nor on disk, as far as is known, in order
        std::unique_ptr<Mapping> Memory;

        Left(quint64 spool, std::unique_ptr<Mapping> memory);
        Left(Left&&) noexcept;
        ~Left();
        /// It will not be needed any more.
        void Forget() const;
    };

    /// `root` is where the spools' folders are; it is there. `destination` says whose values they are, also to the next
    /// server. Throws DescribedError where no shared memory can be had.
    SharedTail(quint64 spool, const QString& root, const QString& destination);
    SharedTail(const SharedTail&) = delete;
    SharedTail& operator=(const SharedTail&) = delete;
    /// An orderly end: nobody will ask for what is here.
    ~SharedTail();

    /// Sequences grow. Returns false when there is no room for it, or it is too large. Called by one thread only.
    bool Add(quint64 sequence, const RecordedValue& value);
    /// The values up to there have been written or are on disk. Any thread.
    void NoteSafe(quint64 sequence);

    /// Of the spools in `root` whose destination is wanted. Gives back the memory of those whose root somebody has
    /// deleted. Throws DescribedError when something cannot be looked at at present.
    static std::vector<Left> LeftIn(const QString& root, const std::function<bool(const QString&)>& isWanted);

private:
    static constexpr int Parts = 2; ///< filled in turn, each again when its values are safe
    static constexpr qint64 PartBytes = Bytes / Parts;
    struct Layout;

    const QByteArray m_Name;
    std::unique_ptr<Mapping> m_Mapping;
    Layout& m_Layout;
    std::array<quint64, Parts> m_Last = {}; ///< the last sequence of each part
    std::size_t m_Filling = 0;
    QByteArray m_Frame;
};
