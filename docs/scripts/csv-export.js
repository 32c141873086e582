' Writes what the history recorded of some items as CSV with a column for each of them: a line for each second in which one changed,
' the others keep their value until their next record.
const controller = "PLC1";
const items = ["Level", "Temperature", "Recipe"];
const from = "2024-01-31 06:00", to = "2024-01-31 08:00"; // the end does not belong to it

const sql = text => "'" + text.replace(/'/g, "''") + "'";
const records = Vlx.History.Execute(`select substr(cast(item_time as text), 1, 19), item_name, item_value
    from ${Vlx.History.TableName(1)}
    where controller_name = ${sql(controller)} and item_name in (${items.map(sql).join(", ")})
        and item_time >= ${sql(from)} and item_time < ${sql(to)}
    order by item_time`);

function cell(value) {
    const text = value === null ? "" : String(value);
    return /[",\r\n]/.test(text) ? '"' + text.replace(/"/g, '""') + '"' : text;
}
const write = cells => print(cells.map(cell).join(","));

write(["time", ...items]);
const values = items.map(() => null);
let time = "";
for (const [at, name, value] of records) {
    if (time && at !== time) write([time, ...values]);
    time = at;
    values[items.indexOf(name)] = value;
}
if (time) write([time, ...values]);
