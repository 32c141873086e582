' Drives a set point up in steps and checks that its linked copy follows. Exit code 0: it does, 1: it does not.
const plc = Vlx.Controller("PLC1");
const setPoint = plc.Item("D100");
const copy = plc.Item("Set point copy");
const before = setPoint.Value;
let failures = 0;

for (let value = 0; value <= 100; value += 25) {
    setPoint.ValueEx(20, value);
    sleep(100);
    copy.Snapshot();
    const ok = copy.Value === value;
    print(String(value).padStart(3), ok ? "ok" : "FAILED: " + copy.Value);
    if (!ok) ++failures;
}

setPoint.Value = before;
exit(failures === 0 ? 0 : 1);
