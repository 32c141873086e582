#pragma once

class Variant;

/// Whether two values mean the same. Numbers, dates, amounts and booleans compare by value whatever their types (True
/// is -1, as in automation; a double is rounded for the comparison with a single, so that 0.1 equals 0.1). Texts
/// compare exactly, arrays element by element whatever their bounds. EMPTY equals only EMPTY, NULL only NULL, an object
/// only itself, and a NaN equals nothing.
bool SameValue(const Variant& a, const Variant& b);
