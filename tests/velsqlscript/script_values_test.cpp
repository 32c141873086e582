#include "tests/support/RealServer.h"
#include "tests/velsqlscript/ScriptProcess.h"

#include <gtest/gtest.h>

namespace {

/// `item` takes every type.
const QByteArray s_Begin = R"(const item = Vlx.Controller(Vlx.ControllerNames[1]).Item("Anything");
const plc = Vlx.Controller("PLC1");
function attempt(action) { try { print(action()); } catch (error) { print(error); } }
)";

QString OutputOf(const QByteArray& script)
{
    RealServer server;
    server.Start();
    const Outcome outcome = RunScript(s_Begin + script);
    EXPECT_EQ(outcome.Errors.toStdString() + std::to_string(outcome.Code), "0");
    return outcome.Output;
}

} // namespace

TEST(ScriptValues, TypedValuesComeBackToTheLastBit)
{
    // Each goes from its text to the server and back, and once more from what was read.
    EXPECT_EQ(OutputOf(R"~(
const texts = [
    "0", "1", "11,True", "11,False", "16,-128", "17,255", "2,-32768", "18,65535", "3,-2147483648", "19,4294967295",
    "4,0.1", "4,3.4028235E+38", "4,-0", "4,NaN", "5,0.1", "5,-0", "5,5E-324", "5,-Infinity", "5,NaN(1)",
    "6,922337203685477.5807", "6,-0.0001", "7,2024-02-29 14:30:05.250", "7,0100-01-01 00:00:00", "7,45322.123456789",
    "8,", "8, Grüße, \"✓\"\r\n", "8203,True,False", "8208,-1", "8209,0,255", "8194,[-3..]1,2", "8210,65535", "8195,",
    "8211,4294967295", "8196,0.1,1.5", "8197,0.1", "8198,0.0001", "8199,2024-01-31 12:00:00", "8200,\"\",\"a,b\",[c",
    "8204,{3,1},{0},{1},{8204,{8194,2,3},{4,0.1},{6,922337203685477.5807}}"];
for (const text of texts) {
    item.Value = typed(text);
    item.Value = typed(item, "Value");
    const back = typed(item, "Value");
    if (back.text !== typed(text).text || back.code !== Number(text.split(",")[0])) print(text, back.code, back.text);
}
const odd = "\0a\uD800b\uDC00\0";
for (const value of [odd, BSTR(odd), [odd], ArrayOf("BSTR", [odd])]) {
    item.Value = value;
    print([].concat(item.Value)[0] === odd);
}
item.Value = Vlx.Controller("PLC1").Item("D100");
item.Value.Value = 78;
print(typed(item, "Value").type, item.Value.Name, Vlx.Controller("PLC1").Item("D100").Value, texts.length);
)~"),
              QStringLiteral("true\ntrue\ntrue\ntrue\nDISPATCH D100 78 39\n"));
}

TEST(ScriptValues, PlainValuesAndNamedTypes)
{
    EXPECT_EQ(OutputOf(R"~(
for (const value of [2147483647, 2147483648, -2147483648, -2147483649, 0.5, -0, NaN, new Date(2024, 1, 29, 6), [[1], true], plc, null]) {
    item.Value = value;
    print(typed(item, "Value").type, typed(item, "Value").type === "DISPATCH" ? item.Value : typed(item, "Value"), item.Value);
}
for (const text of ["4,0.1", "6,12.5", "17,7", "8204,{0},{1}", "7,2024-01-31 12:00:00.250"]) {
    item.Value = typed(text);
    print(item.Value, typeof item.Value);
}
for (const make of [() => I2(2.5), () => I2(true), () => BOOL(-2), () => R4(16777217), () => R4(1e39), () => UI4(4294967295),
                    () => I4(4294967296), () => CY(0.1), () => DATE(45322.5), () => BSTR(1.5), () => UI1("256"), () => I2(undefined),
                    () => I1([1]), () => DISPATCH(null).type, () => I2(I4("7")), () => DATE(new Date(2024, 0, 31)), () => DATE(new Date(NaN)),
                    () => ArrayOf("I2", [1, "2", UI1(3)], -1), () => ArrayOf("I2", [1, 70000]), () => ArrayOf("I9", []),
                    () => ArrayOf("VARIANT", [1, I2(2)]), () => ArrayOf("UI1", new Uint8Array([1, 2])), () => typed("3,abc"),
                    () => typed(Vlx.Controller("PLC1"), "Item", "D100").text, () => typed(item, "Values"), () => I2(5) + 1]) attempt(make);
)~"),
              QString::fromUtf8(R"(I4 3,2147483647 2147483647
R8 5,2147483648 2147483648
I4 3,-2147483648 -2147483648
R8 5,-2147483649 -2147483649
R8 5,0.5 0.5
R8 5,-0 0
R8 5,NaN NaN
DATE 7,2024-02-29 06:00:00 2024-02-29 06:00:00
ARRAY|VARIANT 8204,{8204,{3,1}},{11,True} [[1],true]
DISPATCH [Controller] [Controller]
NULL 1 null
0.1 number
12.5 number
7 number
[null,null] object
2024-01-31 12:00:00.250 object
2,2
2,-1
11,True
4,1.6777216E+07
ValueError: VT_R4: overflow, "1E+39" is outside -3.4028235E+38 to 3.4028235E+38
19,4294967295
ValueError: VT_I4: overflow, "4294967296" is outside -2147483648 to 2147483647
6,0.1
7,2024-01-31 12:00:00
8,1.5
ValueError: VT_UI1: overflow, "256" is outside 0 to 255
ValueError: VT_I2: Type mismatch
ValueError: VT_I1: Type mismatch
DISPATCH
2,7
7,2024-01-31 00:00:00
ValueError: the date is invalid
8194,[-1..]1,2,3
ValueError: element 2: VT_I2: overflow, "70000" is outside -32768 to 32767
ValueError: "I9" is no type such as "I2"
8204,{3,1},{2,2}
8209,1,2
ValueError: VT_I4: "abc" is not a number
ValueError: TypedValue.text: VT_DISPATCH has no text
TypeError: "Values" has no typed value
6
)"));
}

TEST(ScriptValues, WrappersRefuseWhatTheyDoNotKnow)
{
    EXPECT_EQ(OutputOf(R"~(
const result = Vlx.History.Execute("select 1 as a");
for (const action of [() => item.value, () => { item.Foo = 1; }, () => { item.Name = "x"; }, () => { item.Snapshot = 1; },
                      () => delete item.Value, () => item.ValueEx(1), () => plc.ScanTimes(), () => plc.ScanTimes("0"),
                      () => plc.ScanTimes(0.5), () => { item.Activation = "x"; }, () => { plc.OnChangeItem = 5; },
                      () => { item.Value = {a: 1}; }, () => { item.Value = () => 1; }, () => { item.Value = result; },
                      () => plc.RemoveItem(5), () => result.Row(1), () => result.Cell(0, 1), () => { const a = []; a.push(a); item.Value = a; },
                      () => I2(5).foo, () => String(item) + JSON.stringify([item]), () => "Value" in item && !("Foo" in item),
                      () => Object.keys(result), () => waitForEvents()]) attempt(action);
item.Activation = false;
item.ValueEx(0, 5);
print(item.Activation, plc.OnChangeItem, plc.AddItem.length);
)~"),
              QString::fromUtf8(R"(TypeError: Item has no member "value"; it is spelled "Value"
TypeError: Item has no member "Foo"
TypeError: Item.Name is read only
TypeError: Item.Snapshot is a function
TypeError: Item.Value cannot be deleted
ValueError: Item.ValueEx: takes 2 arguments, not 1
ValueError: Controller.ScanTimes: takes 1 argument, not 0
ValueError: Controller.ScanTimes: argument 1: Type mismatch
ValueError: Controller.ScanTimes: argument 1: Type mismatch
ValueError: Item.Activation: Type mismatch
TypeError: OnChangeItem takes a function, or null
ValueError: "[object Object]" is no value that the server knows
ValueError: "function() { [native code] }" is no value that the server knows
ValueError: Item.Value: Only objects of the server can be sent to it.
ValueError: Controller.RemoveItem: argument 1: Type mismatch
ValueError: ResultSet.Row: Subscript out of range
ValueError: ResultSet.Cell: Subscript out of range
ValueError: arrays are nested more than 16 deep
TypeError: TypedValue has no member "foo"
[Item]["[Item]"]
true
[]
ValueError: waitForEvents without a time and without handlers would wait for ever
false null 0
)"));
}
