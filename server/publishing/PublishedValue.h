#pragma once

#include "server/database/RecordedValue.h"

#include <QByteArray>

/// The topic of an item: `pattern` with the names in place of {controller} and {item}. Characters that have a meaning
/// of their own in topics become "_"; a slash stays one.
QByteArray TopicFor(const QString& pattern, const QString& controller, const QString& item);

/// {"controller":"PLC1","item":"D100","value":25,"type":"I4","time":"2024-01-31T12:00:00.250000Z","state":0}
QByteArray JsonOf(const RecordedValue& value);
