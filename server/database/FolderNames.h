#pragma once

#include <QStringList>

/// The names of what stands in a folder, in order; none where there is no folder. Throws DescribedError when it cannot
/// be read at present: files that are overlooked would be lost, or their content answered for as not there.
QStringList NamesIn(const QString& folder);
