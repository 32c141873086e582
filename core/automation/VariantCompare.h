#pragma once

class Variant;

/// Whether two values say the same: numbers, dates, amounts and booleans compare by value whatever their types (True
/// is -1, as in automation; a double against a single is rounded to one, so that 0.1 stays 0.1), texts compare
/// exactly, arrays element by element whatever their bounds. EMPTY equals only EMPTY, NULL only NULL, an object only
/// itself, and a NaN equals nothing.
bool SameValue(const Variant& a, const Variant& b);
