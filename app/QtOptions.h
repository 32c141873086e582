#pragma once

#include <QStringList>

/// The arguments without the options that Qt takes for itself (-platform, -style and their kin) and their values.
QStringList WithoutQtOptions(const QStringList& arguments);
