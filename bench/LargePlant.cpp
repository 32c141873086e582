#include "bench/LargePlant.h"

LargePlant::LargePlant(const QString& path)
    : m_File(path)
{
    if (!m_File.open(QIODevice::WriteOnly)) qFatal("no plant file");
}

void LargePlant::Add(int controllers, int items, bool sortAdded)
{
    for (const int end = m_Controllers + controllers; m_Controllers < end; ++m_Controllers) {
        m_File.write(QStringLiteral("[[controller]]\nname = \"PLC%1\"\nscan_times = [1000, 0, 0]\n")
                         .arg(m_Controllers)
                         .toUtf8());
        if (sortAdded) m_File.write("added_items = \"sorted\"\n");
        for (int item = 0; item < items; ++item)
            m_File.write(QStringLiteral("[[controller.item]]\nname = \"Item%1\"\ntype = \"I4\"\n")
                             .arg(item, 7, 10, QChar(u'0'))
                             .toUtf8());
    }
}
