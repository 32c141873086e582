#pragma once

#include "velsqllib/velsqllib.capnp.h"

#include <capnp/schema.h>
#include <QtGlobal>

/// A method of one of the schema's interfaces, as its type is known at run time.
struct WireMethod
{
    quint64 Interface; ///< its id
    quint16 Ordinal;
    quint16 Since; ///< the level from which on servers know it
    bool IsBoolean;

    bool operator==(const WireMethod&) const = default;

    /// The method of this interface that takes these parameters.
    template <typename Wire, typename Params>
    static const WireMethod& Of()
    {
        static const WireMethod method = Find(capnp::Schema::from<Wire>(), capnp::Schema::from<Params>());
        return method;
    }

private:
    static WireMethod Find(capnp::InterfaceSchema interface, capnp::StructSchema params);
};
