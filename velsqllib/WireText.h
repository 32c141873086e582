#pragma once

#include <QString>

#include <capnp/blob.h>
#include <capnp/common.h>
#include <kj/exception.h>

/// Texts cross the wire as their 16-bit characters, so that NUL and lone surrogates arrive as they were sent.
QString FromWireText(capnp::Data::Reader text);
/// The text where it stands, as long as its message does.
QStringView ViewOfWireText(capnp::Data::Reader text);

/// The bytes to send for a text; valid while `text` exists and is not changed.
capnp::Data::Reader WireBytes(const QString& text);

/// `description` as the failure of a call; it reaches the other end unchanged.
kj::Exception ToException(const QString& description);

/// The description that a failure carries.
QString DescriptionOf(const kj::Exception& failure);
