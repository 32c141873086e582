#pragma once

#include <QFile>

/// A plant file of any size, item by item, with names as plants have them.
class LargePlant
{
public:
    explicit LargePlant(const QString& path);

    /// So many controllers PLC0, PLC1 and so on, each with so many items Item0000000, Item0000001 and so on.
    /// Added items go to the end, or where their names belong.
    void Add(int controllers, int items, bool sortAdded = false);

private:
    QFile m_File;
    int m_Controllers = 0;
};
