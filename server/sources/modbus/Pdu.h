#pragma once

#include "server/sources/modbus/ReadPlan.h"

/// The bytes of a request or of its answer, from the function code on.
using Pdu = std::vector<quint8>;

/// Why an exchange with a unit came to nothing.
class ModbusError : public DescribedError
{
public:
    enum class Kind
    {
        Refused, ///< the unit has answered with an exception
        Silent,  ///< no answer in time
        Garbled, ///< an answer that is none
        Broken   ///< no connection
    };
    ModbusError(Kind kind, const QString& description, quint8 exception = 0)
        : DescribedError(description)
        , m_Kind(kind)
        , m_Exception(exception)
    {
    }
    Kind Why() const { return m_Kind; }
    /// The unit's exception code; 0 when it is none.
    quint8 Exception() const { return m_Exception; }

private:
    Kind m_Kind;
    quint8 m_Exception;
};

/// "Illegal data address (exception 2)".
QString ExceptionText(quint8 code);

Pdu ReadRequest(const Span& where);
/// One register or coil.
Pdu WriteOneRequest(Area area, quint16 first, quint16 value);
/// Several: at most MostWritten.
Pdu WriteBlockRequest(Area area, quint16 first, std::span<const quint16> values);
qint32 MostWritten(Area area);

/// The registers or bits that an answer holds. Throws ModbusError for an exception and for anything that is no answer
/// to that request.
std::vector<quint16> ReadAnswer(const Span& asked, std::span<const quint8> answer);
/// Whether a write was confirmed as it was asked for. Throws ModbusError otherwise.
void CheckWriteAnswer(const Pdu& request, std::span<const quint8> answer);
