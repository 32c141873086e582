"""A Modbus device that misbehaves when told so: "tcp PORT" or "rtu PATH". Lines of standard input say how it answers
from then on. Register n of both tables holds n, the coils are on and off by turns; from 2000 on it has nothing.
"""
import asyncio
import sys
import threading
import time

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.framer.rtu_framer import ModbusRtuFramer
from pymodbus.framer.socket_framer import ModbusSocketFramer
from pymodbus.pdu import ExceptionResponse
from pymodbus.server.async_io import ModbusSerialServer, ModbusTcpServer

KIND, PLACE = sys.argv[1:3]
FRAMER = ModbusSocketFramer if KIND == "tcp" else ModbusRtuFramer
mode = "right"


def packet(response):
    return FRAMER(None).buildPacket(response)


def refused(response, code):
    refusal = ExceptionResponse(response.function_code, code)
    refusal.transaction_id, refusal.unit_id = response.transaction_id, response.unit_id
    return refusal


def manipulate(response):
    """The answer as the mode wants it, and whether it is bytes already."""
    word, _, number = mode.partition(" ")
    if word == "silent":
        response.should_respond = False
    elif word == "garbage":
        return b"\x13\x37" * 20, True
    elif word == "half":
        return packet(response)[:7], True
    elif word == "flipped":
        bytes_ = bytearray(packet(response))
        bytes_[-1] ^= 1
        return bytes(bytes_), True
    elif word == "transaction":
        response.transaction_id += 5
    elif word == "unit":
        response.unit_id ^= 2
    elif word == "short":
        response.registers = response.registers[:-1]
    elif word == "deaf":  # to what holds this register
        response.should_respond = int(number) not in getattr(response, "registers", ())
    elif word == "lacks" and response.function_code == int(number):
        return refused(response, 1), False
    elif word == "late":
        time.sleep(float(number))
    elif word == "exception":
        return refused(response, int(number)), False
    return response, False


def follow():
    global mode
    for line in sys.stdin:
        mode = line.strip()
        print(mode, flush=True)


async def serve():
    registers = [ModbusSequentialDataBlock(1, list(range(2000))) for _ in range(2)]
    bits = [ModbusSequentialDataBlock(1, [True, False] * 50) for _ in range(2)]
    slave = ModbusSlaveContext(hr=registers[0], ir=registers[1], co=bits[0], di=bits[1])
    context = ModbusServerContext(slaves=slave, single=True)
    if KIND == "tcp":
        server = ModbusTcpServer(context, address=("127.0.0.1", int(PLACE)), allow_reuse_address=True,
                                 response_manipulator=manipulate)
        ready = server.serve_forever()
    else:
        server = ModbusSerialServer(context, framer=ModbusRtuFramer, port=PLACE, baudrate=115200, parity="N",
                                    response_manipulator=manipulate)
        await server.start()
        ready = server.serve_forever()
    task = asyncio.ensure_future(ready)
    await asyncio.sleep(0.2)
    print("serves", flush=True)
    threading.Thread(target=follow, daemon=True).start()
    await task


asyncio.run(serve())
