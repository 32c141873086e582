#pragma once

#include "core/DisplayText.h"

#include <QStyledItemDelegate>

/// Paints a text on one line, cut to what fits; reading or copying the cell still gives the whole text.
class OneLineDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale&) const override { return OneLine(value.toString()); }
};
