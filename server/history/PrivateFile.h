#pragma once

#include <QString>

/// Makes a database's file, and folders that are missing, for this user alone: SQLite gives its companions (-wal,
/// -shm, -journal) the mode of the file. What is there already stays as its owner wants it. What cannot be made is
/// left to whoever opens the file.
void MakePrivateFile(const QString& path);

/// The same for a file whose folder belongs to this program: both, and the file's companions, are taken from others.
void TakeFromOthers(const QString& path);
