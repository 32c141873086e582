#!/usr/bin/env python3
"""A Modbus device to practise with: a boiler whose temperature follows its valve. Debian: python3-pymodbus.

usage: modbus-slave.py [PORT]     (default: 5020, on this machine only)

holding:0      valve, percent (to be written)      input:0    flow temperature, tenths of a degree
holding:10-11  wanted temperature, R4              input:2-3  burned gas, cubic metres, R4
coil:0         burner on (to be written)           discrete:0 the temperature is too high
"""
import asyncio
import logging
import struct
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server.async_io import ModbusTcpServer

PORT = int(sys.argv[1]) if len(sys.argv) > 1 else 5020


def floats(number):
    return list(struct.unpack(">HH", struct.pack(">f", number)))


async def simulate(slave):
    temperature, gas = 20.0, 0.0
    while True:
        burns = slave.getValues(1, 0)[0]
        valve = min(slave.getValues(3, 0)[0], 100)
        temperature += (0.02 * valve if burns else 0.0) - 0.01 * (temperature - 20.0)
        gas += 0.0005 * valve if burns else 0.0
        slave.setValues(4, 0, [round(10 * temperature)])
        slave.setValues(4, 2, floats(gas))
        slave.setValues(2, 0, [temperature > 90.0])
        await asyncio.sleep(0.1)


async def main():
    logging.disable()  # it would call each client that leaves an error
    slave = ModbusSlaveContext(
        co=ModbusSequentialDataBlock(1, [True] + [False] * 15), di=ModbusSequentialDataBlock(1, [False] * 16),
        hr=ModbusSequentialDataBlock(1, [60] + [0] * 9 + floats(65.0) + [0] * 4), ir=ModbusSequentialDataBlock(1, [0] * 16))
    server = ModbusTcpServer(ModbusServerContext(slaves=slave, single=True), address=("127.0.0.1", PORT),
                             allow_reuse_address=True)
    print(f"A boiler answers at 127.0.0.1:{PORT}; Ctrl+C ends it.", flush=True)
    await asyncio.gather(server.serve_forever(), simulate(slave))


try:
    asyncio.run(main())
except KeyboardInterrupt:
    pass
