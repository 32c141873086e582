#pragma once

#include "core/automation/Errors.h"
#include "core/automation/PlainText.h"
#include "core/automation/Variant.h"

#include <functional>

/// The plain text of what an action gives, or the description of why it gives nothing.
inline std::string Outcome(const std::function<Variant()>& action)
{
    try {
        return ToPlainText(action()).toStdString();
    } catch (const ValueError& error) {
        return error.Description().toStdString();
    }
}
