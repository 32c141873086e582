// Headers that most tests include, compiled once for all of them. Not QTest: it depends on macros that differ from
// program to program.
#include "cmake/widgets.h"

#include <QClipboard>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>
