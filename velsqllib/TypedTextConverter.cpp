#include "velsqllib/TypedTextConverter.h"

#include "velsqllib/ValueText.h"

Variant TypedTextConverter::TextToValue(const QString& typedText)
{
    return ReadTypedText(typedText);
}

QString TypedTextConverter::ValueToText(const Variant& value, qint32 /*flags*/)
{
    return WriteTypedText(value);
}
