#pragma once

#include "server/sources/Source.h"
#include "server/sources/SourceSettings.h"

#include <span>

/// What a device of a plant file may speak, and how a source is made that speaks it.
struct Protocol
{
    QString Name;
    /// Null when there are mistakes.
    SourceRef (*Make)(const QString& name, SourceSettings& settings);
};

std::span<const Protocol> Protocols();
