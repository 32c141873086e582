' Takes five snapshots of a stopped controller and reports what the history recorded of them.
const plc = Vlx.Controller("PLC1");
const history = Vlx.History;

plc.Stop();
sleep(500); // what was read before has been recorded by then
const start = history.Execute("select max(item_time) from velsql_history").Cell(0, 0) || "";

for (let i = 0; i < 5; ++i) plc.Snapshot();
sleep(500);
plc.Start();

const names = ["Counter", "Recipe"];
const report = history.Execute(`
    select item_name, count(*) as changes, max(item_value) - min(item_value) as span
    from velsql_history
    where item_time > '${start}' and item_name in (
        '${names.join("', '")}'
    )
    group by item_name`);

print(report.Columns.join(" | "));
for (const row of report) print(row.join(" | "));
print("Rows:", report.RowCount);
