// What most tests include, compiled once for all of them. Not QTest: it depends on macros that differ for each program.
#include "cmake/widgets.h"

#include <QClipboard>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>
