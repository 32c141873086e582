' Reports what the history recorded yesterday: how many records of each item, and of numbers the lowest, the mean and the highest.

function dayText(date) {
    return [date.getFullYear(), date.getMonth() + 1, date.getDate()].map(part => String(part).padStart(2, "0")).join("-");
}
const now = new Date();
const today = dayText(now);
const yesterday = dayText(new Date(now.getFullYear(), now.getMonth(), now.getDate() - 1));

const records = Vlx.History.Execute(`select controller_name, item_name, item_value from ${Vlx.History.TableName(1)}
    where item_time >= '${yesterday}' and item_time < '${today}'`);

const items = new Map();
for (const [controller, name, value] of records) {
    const key = `${controller}\\${name}`;
    if (!items.has(key)) items.set(key, { records: 0, numbers: 0, sum: 0, lowest: Infinity, highest: -Infinity });
    const item = items.get(key);
    ++item.records;
    // PostgreSQL keeps values as texts.
    const number = value === null || value === "" ? NaN : Number(value);
    if (isNaN(number)) continue;
    ++item.numbers;
    item.sum += number;
    item.lowest = Math.min(item.lowest, number);
    item.highest = Math.max(item.highest, number);
}

const rounded = number => String(Number(number.toFixed(2)));
const line = (name, cells) => print(name.padEnd(30) + cells.map(cell => cell.padStart(12)).join(""));

print(`${yesterday}: ${records.RowCount} records of ${items.size} items`);
if (items.size > 0) line("", ["records", "lowest", "mean", "highest"]);
for (const [name, item] of [...items].sort()) {
    const numbers = item.numbers ? [item.lowest, item.sum / item.numbers, item.highest].map(rounded) : [];
    line(name, [String(item.records), ...numbers]);
}
