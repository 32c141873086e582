#pragma once

#include <QString>

/// Held by whoever makes, removes or renames files of a folder together with what stands beside them, because others may
/// begin to use a file of the same name in between. Other processes are kept waiting, too.
class FolderLock
{
public:
    /// Waits for the folder of `file`, which is made if it is missing. Throws DescribedError.
    explicit FolderLock(const QString& file);
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock();

private:
    int m_Folder; ///< a descriptor; below 0 where there is no such folder, then nothing is locked
};
