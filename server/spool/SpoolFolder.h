#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

/// A folder of values that wait for one destination, made by one run of a server. As long as it is held no other server
/// touches it.
class SpoolFolder
{
public:
    SpoolFolder(const SpoolFolder&) = delete;
    SpoolFolder& operator=(const SpoolFolder&) = delete;
    ~SpoolFolder();

    quint64 Spool() const { return m_Spool; }
    const QString& Path() const { return m_Path; }
    /// Full paths of the files that hold values, the oldest first. Throws DescribedError.
    QStringList Files() const;
    /// When nothing waits in it any more.
    void Remove();

    /// A new one in `root`, for this user only. `destination` says in words where its values go. Throws DescribedError.
    static std::unique_ptr<SpoolFolder> Make(const QString& root, quint64 spool, const QString& destination);
    /// Those that servers which have ended left for this destination, the oldest first. Throws DescribedError when one
    /// cannot be looked at at present.
    static std::vector<std::unique_ptr<SpoolFolder>> LeftFor(const QString& root, const QString& destination);
    /// Those that they left for others, as lines for the log.
    static QStringList LeftForOthers(const QString& root, const QStringList& destinations);

private:
    SpoolFolder(QString path, quint64 spool, int lock);
    /// `time`, in milliseconds since 1970, is its place among the others.
    static std::unique_ptr<SpoolFolder> MakeAt(qint64 time, const QString& root, quint64 spool,
                                               const QString& destination);
    static void RescueTails(const QString& root, const std::function<bool(const QString&)>& isWanted);
    /// Null when another server holds it.
    static std::unique_ptr<SpoolFolder> Open(const QString& path);

    const QString m_Path;
    const quint64 m_Spool;
    const int m_Lock;
};

using SpoolFolderRef = std::unique_ptr<SpoolFolder>;
