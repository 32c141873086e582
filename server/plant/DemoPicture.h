#pragma once

#include <QList>

/// A picture of the demo plant's tank, 64 x 48 pixels, as the bytes of a BMP file.
QList<quint8> DrawDemoPicture();
