#pragma once

#include <QString>

#include <capnp/blob.h>
#include <capnp/common.h>

/// Texts cross the wire as their 16-bit characters, so that NUL and lone surrogates arrive as they were sent.
QString FromWireText(capnp::Data::Reader text);

/// The bytes to send for a text; valid while `text` lives and is not changed.
capnp::Data::Reader WireBytes(const QString& text);
