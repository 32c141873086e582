#pragma once

#include "core/automation/ServerObjects.h"

/// The console's converter: works in the console's own process, so that an operator's input is checked without a
/// server.
class TypedTextConverter : public ValueConverter
{
public:
    Variant TextToValue(const QString& typedText) override;
    QString ValueToText(const Variant& value, qint32 flags) override;
};
