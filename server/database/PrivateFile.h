#pragma once

#include <QString>

/// Creates a database's file, and folders that are missing, for this user only: SQLite gives its companions (-wal,
/// -shm, -journal) the mode of the file. Existing files stay as their owner wants them. Throws DescribedError.
void MakePrivateFile(const QString& path);

/// SQLite gives the file of shared memory beside a database the mode that this has at that moment, and keeps it. If it
/// were created while the database was read-only, it would refuse every later writer.
void MendSharedMemoryFile(const QString& database);

/// The same as MakePrivateFile for a file whose folder belongs to this program: other users lose access to the folder, the file and its
/// companions.
void TakeFromOthers(const QString& path);
