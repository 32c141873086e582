#pragma once

#include "core/automation/ServerObjects.h"

/// A converter for the plain types and one-dimensional arrays of them, so that windows can be tested without the server's
/// library. Texts in arrays are not quoted; nested arrays and objects are refused.
class FakeConverter : public ValueConverter
{
public:
    Variant TextToValue(const QString& typedText) override;
    QString ValueToText(const Variant& value, qint32 flags) override;
};
