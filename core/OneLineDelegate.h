#pragma once

#include "core/DisplayText.h"

#include <QStyledItemDelegate>

/// Paints a text on one line and no more of it than fits; who reads or copies the cell gets the whole.
class OneLineDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale&) const override { return OneLine(value.toString()); }
};
