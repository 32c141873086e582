' Watches a controller: handlers are called while the script waits.
const plc = Vlx.Controller("PLC1");
const states = ["Uninitialized", "Active", "Deactive", "Error", "Terminated"];

plc.OnChangeState = function (state) {
    print("State:", states[state] || "Unknown");
};
plc.OnChangeItem = function (item) {
    if (item.Name === "D100") print("D100:", item.Value);
};

plc.Stop();
for (const value of [30, 31]) {
    plc.Item("D100").Value = value;
    sleep(200);
}
plc.OnChangeItem = null;
plc.Start();
print("Events while waiting:", waitForEvents(2000));
