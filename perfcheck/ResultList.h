#pragma once

#include <QTreeWidget>

/// The results of the performance check, one row for each start, end or failure.
class ResultList : public QTreeWidget
{
    Q_OBJECT

public:
    explicit ResultList(QWidget* parent = nullptr);

    /// Appends a row and scrolls to it; missing columns stay empty.
    void AddRow(const QString& action, const QString& time = {}, const QString& timeRequired = {},
                const QString& value = {});

    /// Room for 20 rows and for usual values.
    QSize sizeHint() const override;
};
