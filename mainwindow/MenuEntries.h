#pragma once

#include <functional>
#include <map>

class QWidget;

/// The commands of a menu or toolbar by entry index; separators count as indexes.
using MenuEntries = std::map<int, std::function<void()>>;

/// Connects every entry to its command. Whatever a command throws ends in one log line, not in the event loop.
void ConnectEntries(const QWidget* menu, MenuEntries entries);
