#pragma once

#include "core/automation/ResultSet.h"

#include <functional>

/// Walks over the rows of a result, and waits for those that the server has not read yet.
class Rows
{
public:
    /// `isWanted` is asked while it waits: false ends the rows.
    explicit Rows(
        ResultSetRef result, std::function<bool()> isWanted = [] { return true; });

    /// Goes to the next row. Throws ServerError when reading has failed.
    bool Next();
    /// Of the present row.
    Variant Cell(qint32 column) const;
    /// NaN for what is no number.
    double Number(qint32 column) const;

private:
    bool IsThere();

    ResultSetRef m_Result;
    std::function<bool()> m_IsWanted;
    ResultProgress m_Progress{0, false, {}};
    ResultPageRef m_Page;
    qint64 m_Row = -1;
};
