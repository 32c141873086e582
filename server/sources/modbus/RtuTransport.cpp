#include "server/sources/modbus/RtuTransport.h"

#include <QFile>

#include <cerrno>
#include <modbus/modbus.h>
#include <thread>

using Kind = ModbusError::Kind;

void RtuTransport::Closer::operator()(_modbus* line) const
{
    modbus_close(line);
    modbus_free(line);
}

RtuTransport::RtuTransport(const LineSettings& settings, std::stop_token stop)
    : m_Settings(settings)
    , m_Stop(std::move(stop))
{
}

void RtuTransport::Connect()
{
    m_Line.reset(modbus_new_rtu(QFile::encodeName(m_Settings.Serial).constData(), m_Settings.Baud, m_Settings.Parity,
                                m_Settings.DataBits, m_Settings.StopBits));
    if (m_Line && modbus_connect(m_Line.get()) == 0) return Empty();
    const QString reason = QString::fromLocal8Bit(modbus_strerror(errno));
    // A context that never connected has nothing to close.
    if (m_Line) modbus_free(m_Line.release());
    throw ModbusError(Kind::Broken, QStringLiteral("%1: %2").arg(m_Settings.Serial, reason));
}

/// What comes now belongs to no request that will be made.
void RtuTransport::Empty()
{
    modbus_flush(m_Line.get());
}

void RtuTransport::Fail(int error)
{
    const QString reason = QString::fromLocal8Bit(modbus_strerror(error));
    if (error == EBADF || error == EIO || error == ENODEV || error == ENXIO || error == ECONNRESET) {
        Close();
        throw ModbusError(Kind::Broken, QStringLiteral("%1: %2").arg(m_Settings.Serial, reason));
    }
    std::this_thread::sleep_for(m_Settings.Quiet);
    Empty();
    if (error == ETIMEDOUT) throw ModbusError(Kind::Silent, QStringLiteral("no answer in time"));
    throw ModbusError(Kind::Garbled, QStringLiteral("its answer is garbled: %1").arg(reason));
}

Pdu RtuTransport::Exchange(quint8 unit, const Pdu& request, Milliseconds timeout)
{
    modbus_t* const line = m_Line.get();
    constexpr quint32 Thousand = 1000;
    const auto milliseconds = static_cast<quint32>(timeout.count());
    modbus_set_response_timeout(line, milliseconds / Thousand, milliseconds % Thousand * Thousand);
    modbus_set_slave(line, unit);
    Pdu frame = {unit};
    frame.insert(frame.end(), request.begin(), request.end());
    if (modbus_send_raw_request(line, frame.data(), static_cast<int>(frame.size())) < 0) Fail(errno);
    quint8 answer[MODBUS_RTU_MAX_ADU_LENGTH];
    const int size = modbus_receive_confirmation(line, answer);
    constexpr int Framing = 3; // the unit and the check sum
    if (size < 0) Fail(errno);
    if (size <= Framing) Fail(EMBBADSLAVE); // of another unit
    return {answer + 1, answer + size - 2};
}
