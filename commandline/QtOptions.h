#pragma once

#include <QStringList>

/// The arguments without the options that Qt takes for itself (-platform, -style and the like) and their values.
QStringList WithoutQtOptions(const QStringList& arguments);
