#include "tests/velsqlscript/ScriptProcess.h"

#include <gtest/gtest.h>

namespace {

/// What a script prints in which `plc`, `item`, which takes every type, `keep` and `attempt` are known.
QString OutputOf(const QByteArray& script)
{
    RealServer server;
    server.Start();
    return RunScript(R"(const item = Vlx.Controller(Vlx.ControllerNames[1]).Item("Anything");
const plc = Vlx.Controller("PLC1"), result = Vlx.History.Execute("select 1 as a");
function keep(value) { item.Value = value; print(typed(item, "Value"), item.Value); }
function attempt(act) { try { const got = act(); if (got !== undefined) print(got); } catch (error) { print(error); } }
)" + script);
}

/// Attempts all in one script: what is done, and what that prints.
void Check(const QList<std::pair<QByteArray, QString>>& attempts)
{
    QByteArray script;
    for (const auto& [action, printed] : attempts) script += "attempt(() => " + action + ");\n";
    const QStringList lines = OutputOf(script).split(u'\n');
    ASSERT_EQ(lines.size(), attempts.size() + 1) << lines.last().toStdString();
    for (qsizetype i = 0; i < attempts.size(); ++i) EXPECT_EQ(lines[i], attempts[i].second) << attempts[i].first.data();
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
              u"true\ntrue\ntrue\ntrue\nDISPATCH D100 78 39\n");
}

TEST(ScriptValues, PlainValuesAndNamedTypesTakeWhatFitsThem)
{
    Check({{"keep(2147483647)", u"3,2147483647 2147483647"_s},
           {"keep(2147483648)", u"5,2147483648 2147483648"_s},
           {"keep(new Date(2024, 1, 29, 6))", u"7,2024-02-29 06:00:00 2024-02-29 06:00:00"_s},
           {"keep([[1], true])", u"8204,{8204,{3,1}},{11,True} [[1],true]"_s},
           {"keep(null)", u"1 null"_s},
           {"keep(typed('4,0.1'))", u"4,0.1 0.1"_s},
           {"keep(typed('8204,{0},{1}'))", u"8204,{0},{1} [null,null]"_s},
           {"I2(true)", u"2,-1"_s},
           {"R4(16777217)", u"4,1.6777216E+07"_s},
           {"R4(1e39)", u"ValueError: VT_R4: overflow, \"1E+39\" is outside -3.4028235E+38 to 3.4028235E+38"_s},
           {"DATE(new Date(NaN))", u"ValueError: the date is invalid"_s},
           {"I2(undefined)", u"ValueError: VT_I2: Type mismatch"_s},
           {"DISPATCH(null).type", u"DISPATCH"_s},
           {"ArrayOf('I2', [1, '2', UI1(3)], -1)", u"8194,[-1..]1,2,3"_s},
           {"ArrayOf('I1', [1, 128])", u"ValueError: element 2: VT_I1: overflow, \"128\" is outside -128 to 127"_s},
           {"ArrayOf('I9', [])", u"ValueError: \"I9\" is no type such as \"I2\""_s},
           {"ArrayOf('UI1', new Uint8Array([1, 2]))", u"8209,1,2"_s},
           {"typed(plc, 'Item', 'D100').text", u"ValueError: TypedValue.text: VT_DISPATCH has no text"_s}});
}

TEST(ScriptValues, WrappersRefuseWhatTheyDoNotKnow)
{
    Check(
        {{"item.value", u"TypeError: Item has no member \"value\"; it is spelled \"Value\""_s},
         {"{ item.Foo = 1; }", u"TypeError: Item has no member \"Foo\""_s},
         {"{ item.Name = 'x'; }", u"TypeError: Item.Name is read only"_s},
         {"delete item.Value", u"TypeError: Item.Value cannot be deleted"_s},
         {"item.ValueEx(1)", u"ValueError: Item.ValueEx: takes 2 arguments, not 1"_s},
         {"plc.ScanTimes('0')", u"ValueError: Controller.ScanTimes: argument 1: Type mismatch"_s},
         {"{ plc.OnChangeItem = 5; }", u"TypeError: OnChangeItem takes a function, or null"_s},
         {"{ item.Value = {a: 1}; }", u"ValueError: \"[object Object]\" is no value that the server knows"_s},
         {"{ item.Value = result; }", u"ValueError: Item.Value: Only objects of the server can be sent to it."_s},
         {"{ const a = []; a.push(a); item.Value = a; }", u"ValueError: arrays are nested more than 16 deep"_s},
         {"result.Row(1)", u"ValueError: ResultSet.Row: Subscript out of range"_s},
         {"String(item) + JSON.stringify([item])", u"[Item][\"[Item]\"]"_s},
         {"'Value' in item && !('Foo' in item)", u"true"_s},
         {"Object.keys(result)", u"[]"_s},
         {"waitForEvents()", u"ValueError: waitForEvents without a time and without handlers would wait for ever"_s}});
}
