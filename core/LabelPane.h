#pragma once

#include "core/LogPane.h"

/// A label whose text may be as long as a log's. Its text can be selected and copied, but it is not a text box for the
/// edit commands.
class LabelPane : public LogPane
{
    Q_OBJECT

public:
    explicit LabelPane(QWidget* parent = nullptr);

    /// Shows the text from its beginning.
    void SetText(const QString& text);
};
