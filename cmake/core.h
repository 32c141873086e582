// Headers that most sources of the programs without windows include, compiled once for all of them.
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QPointer>
#include <QStringBuilder>
#include <QStringList>
#include <QTimer>

#include <capnp/capability.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <variant>
#include <vector>
