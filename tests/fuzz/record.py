#!/usr/bin/env python3
"""Records what our programs say to a server and through a link to another machine, as the corpora of fuzz_conversation
and of fuzz_bridge_*. To be run again when the wire changes: the old files then hold what older clients say.

usage: VELSQL_BIN=build/release/bin tests/fuzz/record.py
"""
import os
import pathlib
import socket
import subprocess
import tempfile
import threading

HERE = pathlib.Path(__file__).parent
BIN = pathlib.Path(os.environ["VELSQL_BIN"]).resolve()
MOST = 6 * 1024  # of a conversation: longer ones make slow inputs
ITEM = "const plc = Vlx.Controller('PLC1'), item = plc.Item('D100');"
DEFINITION = """const choices = [4, 7, 11, 15, 27, 30, 32, 36, 37, 38];
const flags = [1, 9, 12, 13, 14, 16, 19, 22, 24, 26, 29, 31, 33, 34, 35];
const made = [];
for (let i = 0; i <= 40; ++i) made.push(choices.includes(i) ? I2(0) : flags.includes(i) ? false : "");"""

SCRIPTS = {
    "read": ITEM + "[item.Value, item.Tag, item.ID, item.DateTime, item.State, item.Name, item.LinkItem];"
            "plc.ItemNames",
    "types": "const any = Vlx.Controller('PLC1').Item('Any'); for (const text of ['3,1', '11,True', '5,0.1', '6,12.5',"
             "'7,2024-01-31 12:00:00', '8,ab', '8195,[1..]1,2', '8204,{8204,{3,1}},{0},{1}', '8200,a,b', '16,-1'])"
             "{ any.Value = typed(text); any.Value; }",
    "properties": ITEM + "item.Tag = 'x'; item.ID = 7; item.Activation = false; item.Activation = true;"
                  "item.ValueEx(5, 9); item.Snapshot(); plc.Item('Counts').Elements(1, 2); plc.SettingData(0)",
    "objects": "const any = Vlx.Controller('PLC1').Item('Any'); any.Value = Vlx.Controller('PLC1').Item('Level');"
               "any.Value.Value; any.Value = Vlx.Controller('Archive'); any.Value.Name",
    "linked": "const plc = Vlx.Controller('PLC1'); plc.Item('Linked').LinkActivation = false;"
              "plc.Item('Linked').Value = 5; plc.Item('Now').Value; plc.Item('Command').Value = 1; plc.Snapshot()",
    "refused": ITEM + "for (const wrong of ['x', [1], null]) try { item.Value = wrong; } catch (e) { }"
               "try { Vlx.Controller('none'); } catch (e) { } try { plc.Item('Command').Value; } catch (e) { }",
    "added": DEFINITION + "made[0] = 'Note'; made[6] = 'By a script'; made[14] = true;"
             "const plc = Vlx.Controller('Archive'); plc.AddItem(made); plc.Item('Note').Value = 'hello';"
             "plc.ItemNames; plc.RemoveItem('Note')",
    "calculated": DEFINITION + "made[0] = 'Sum'; made[8] = 'PLC1\\\\D100'; made[16] = true; made[17] = made[18] = '1';"
                  "made[27] = I2(1); made[28] = '2'; Vlx.Controller('Archive').AddItem(made);"
                  "Vlx.Execute('definition'); Vlx.Execute('plant')",
    "events": "const plc = Vlx.Controller('PLC1'); plc.OnChangeState = s => print(s);"
              "plc.OnChangeItem = i => print(i.Name); plc.Item('D100').Value = 5; plc.Stop(); plc.Start();"
              "waitForEvents(300); plc.Execute('fire item D100 70'); waitForEvents(300); plc.OnChangeItem = null",
    "commands": "for (const c of ['', 'echo x', 'return 8204,{3,1}', 'object PLC1 D100', 'references', 'calls',"
                "'devices', 'item PLC1 D100', 'list PLC1 reordered', 'disturb Item.get_Value slow 1', 'restore',"
                "'statements', 'fire PLC1 state 1 3', 'state PLC1 2']) Vlx.Execute(c);"
                "Vlx.Controller('PLC1').ItemNames",
    "history": "const h = Vlx.History; for (const ask of [() => h.Enabled, () => h.Execute('select 1'),"
               "() => h.TableName(1), () => h.ReadRaw(['PLC1\\\\D100'], 0, 1e15, true, 10), () => h.MaxRecord(2),"
               "() => h.ConnectionString(1),"
               "() => h.ReadProcessed('PLC1\\\\Level', 0, 36e9, '10 min', ['Minimum'])]) try { ask(); } catch (e) { }",
    "slow": "Vlx.Execute('sleep 2000')",
    "engine": "Vlx.Stop(); Vlx.Start(); Vlx.Snapshot(); Vlx.ControllerNames; Vlx.Controller('Archive').Count",
}


# What fuzz_server_answers does, by the byte that picks it.
USES = [SCRIPTS["read"],
        "const r = Vlx.History.Execute('select 1'); r.Columns; r.RowCount; r.Cell(0, 0)",
        "const plc = Vlx.Controller('PLC1'); plc.OnChangeItem = i => print(i.Name); plc.Stop(); plc.Start();"
        "waitForEvents(100)"]


class Relay(threading.Thread):
    """Stands where clients look for the server, and notes what they say, and what the server says to them."""

    def __init__(self, path, server):
        super().__init__(daemon=True)
        self.server, self.said = server, []
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen()
        self.start()

    def run(self):
        while True:
            client = self.listener.accept()[0]
            server = socket.socket(socket.AF_UNIX)
            server.connect(str(self.server))
            said, heard = bytearray(), bytearray()
            self.said.append((said, heard))
            threading.Thread(target=pump, args=(client, server, said), daemon=True).start()
            threading.Thread(target=pump, args=(server, client, heard), daemon=True).start()


def pump(source, target, noted):
    try:
        while part := source.recv(65536):
            noted += part
            target.sendall(part)
        target.shutdown(socket.SHUT_WR)
    except OSError:  # the other end has gone
        pass


def cut(said):
    """As many whole messages as there is room for."""
    end = 0
    while end < len(said):
        others = int.from_bytes(said[end:end + 4], "little")
        words = sum(int.from_bytes(said[end + 4 * i:end + 4 * i + 4], "little") for i in range(1, others + 2))
        size = 8 * ((others + 1) // 2 + 1 + words)
        if end + size > MOST:
            break
        end += size
    return said[:end]


def keep(target, name, data):
    folder = HERE / "corpus" / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data)
    print(f"{target}/{name}: {len(data)} bytes")


def record_conversations(folder, environment):
    relay = Relay(folder / "run/velsql/server.sock", folder / "real.sock")

    def run(name, *command, seconds=20, **options):
        relay.said.clear()
        try:
            subprocess.run([BIN / command[0], *command[1:]], env=environment, timeout=seconds, **options)
        except subprocess.TimeoutExpired:
            pass  # a window, which was looked at for long enough
        for number, said in enumerate(said for said, _ in relay.said if said):
            keep("conversation", f"{name}_{number}" if number else name, cut(said))

    for name, script in SCRIPTS.items():
        run(name, "velsqlscript", "-", input=script.encode())
    for use, script in enumerate(USES):
        run(f"use_{use}", "velsqlscript", "-", "--attach", input=script.encode())
        keep("server_answers", f"use_{use}", cut(relay.said[0][1]) + bytes([use]))
    run("query", "velsqlscript", "--query", "select 1")
    run("console", "velsqltester", seconds=10)
    run("live", "velsqltrend", "PLC1\\Level", "PLC1\\D100", seconds=10)
    run("trend", "velsqltrend", "--png", folder / "t.png", "--from", "-1 h", "PLC1\\Level", "PLC1\\D100")


def record_link(folder, environment):
    ssh = folder / "ssh"
    bridge = f"{BIN}/velsqlserver --connect --socket {folder}/real.sock"
    ssh.write_text(f"#!/bin/sh\ntee {folder}/to | {bridge} | tee {folder}/from\n")
    ssh.chmod(0o755)
    environment = dict(environment, PATH=f"{folder}:{environment['PATH']}", XDG_RUNTIME_DIR=str(folder / "here"))
    (folder / "here").mkdir(mode=0o700)
    subprocess.run([BIN / "velsqlremote", "plant", BIN / "velsqlscript", "-"], env=environment, timeout=30,
                   input=SCRIPTS["read"].encode())
    greeting, frames = (folder / "from").read_bytes().split(b"\n", 1)
    keep("bridge_greeting", "bridge", b"\x0f" + greeting + b"\n" + frames[:100])
    for name, data in (("to_bridge", (folder / "to").read_bytes()), ("from_bridge", frames)):
        keep("bridge_frames", name, b"\x3f" + data[:MOST])


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "run/velsql").mkdir(parents=True, mode=0o700)
        for each in folder / "run", folder / "run/velsql":
            each.chmod(0o700)
        environment = dict(os.environ, XDG_RUNTIME_DIR=str(folder / "run"), XDG_STATE_HOME=name, XDG_CONFIG_HOME=name,
                           QT_QPA_PLATFORM="offscreen")
        ready, end = os.pipe()
        plant = ["--plant", HERE / "plant.toml", "--socket", folder / "real.sock", "--ready-fd", str(end)]
        server = subprocess.Popen([BIN / "velsqlserver", *plant], env=environment, pass_fds=[end])
        os.read(ready, 1)
        try:
            record_conversations(folder, environment)
            record_link(folder, environment)
        finally:
            server.terminate()
            server.wait()


main()
