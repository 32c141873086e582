#pragma once

#include "core/automation/Variant.h"

#include <QStringList>

class QWidget;

/// An item definition that shows which control became which element: all texts differ, all choices are off their first ones.

/// The elements that are flags.
QList<int> Flags();
/// Enters the sample into an add-item dialog, enabled or not, with one flag ticked, or none (-1).
void EnterSample(const QWidget& dialog, int tickedFlag);
/// Its elements as typed texts.
QStringList SampleDefinition(int tickedFlag);

QStringList TypedTexts(const Variant& definition);
