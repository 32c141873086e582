#pragma once

#include <QString>

class QWidget;

/// What a search has found, and where it had to go on for it.
struct FindResult
{
    enum class Way
    {
        Straight,
        FromStart,
        FromEnd,
        NotFound
    };
    Way Found = Way::NotFound;
    /// Which of how many, such as "3 of 57"; empty where nobody counts.
    QString Place = {};
};

/// What a find bar searches. The texts to find are never empty.
class FindTarget
{
public:
    virtual ~FindTarget();

    /// Gets the focus when the bar closes.
    virtual QWidget* Control() = 0;
    /// What the operator probably looks for; when it is empty, the bar keeps its last text.
    virtual QString FirstText() const { return {}; }
    /// The text has changed while it is typed.
    virtual FindResult Typed(const QString& text) = 0;
    virtual FindResult Find(const QString& text, bool backward) = 0;
    /// The bar has closed, or its text has been deleted.
    virtual void Leave() {}
};
