#pragma once

#include <QByteArrayView>
#include <QString>

/// Bytes of a text file as text: UTF-8, else the local 8-bit encoding, else (where that is UTF-8 too, or does not know them)
/// Latin-1, so that no byte is lost.
QString DecodeText(QByteArrayView bytes);
