#pragma once

#include "velsqllib/TypedTextConverter.h"

/// Windows are tested with the console's own converter.
using FakeConverter = TypedTextConverter;
