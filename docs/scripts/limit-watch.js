' Watches limits until one is broken: says so and ends with code 1. So it does when an item is not scanned any more, and when the server
' is gone. limit-watch.service runs it day and night and tells somebody.

' D100 of the demo plant is 25: its limit is broken at once, to try the watch out.
const limits = [
    { controller: "PLC1", item: "Level", low: -50, high: 150 },
    { controller: "PLC1", item: "D100", low: 0, high: 20 },
];
const pause = 1000; // milliseconds between two readings
const readings = 3; // so many in a row must be outside: a single peak wakes nobody

const Active = 1, Failed = 1; // states of a controller and of an item

const watched = limits.map(limit => {
    const plc = Vlx.Controller(limit.controller);
    return { limit, plc, item: plc.Item(limit.item), broken: 0 };
});

function faultOf({ limit, plc, item }) {
    if (plc.State !== Active) return "is not scanned: its controller is not active";
    if (item.State === Failed) return "cannot be read";
    const value = item.Value;
    return value >= limit.low && value <= limit.high ? "" : `is ${value}, outside ${limit.low} to ${limit.high}`;
}

print("Items watched:", watched.length);
for (;;) {
    for (const watch of watched) {
        const fault = faultOf(watch);
        watch.broken = fault ? watch.broken + 1 : 0;
        if (watch.broken < readings) continue;
        print(`${watch.limit.controller}\\${watch.limit.item} ${fault}`);
        exit(1);
    }
    sleep(pause);
}
