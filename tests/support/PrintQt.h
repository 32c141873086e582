#pragma once

#include <QSize>
#include <QString>

#include <ostream>

/// Readable texts in failure messages.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QSize& size, std::ostream* out)
{
    *out << size.width() << " x " << size.height();
}
