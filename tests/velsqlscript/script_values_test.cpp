#include "tests/velsqlscript/ScriptProcess.h"

namespace {

/// What a script prints in which `plc`, `item`, which takes every type, `write` and `attempt` are known.
QString OutputOf(const QByteArray& script)
{
    RealServer server;
    server.Start();
    return RunScript(R"(const item = Vlx.Controller(Vlx.ControllerNames[1]).Item("Anything");
const plc = Vlx.Controller("PLC1"), result = Vlx.History.Execute("select 1 as a");
function write(value) { item.Value = value; print(typed(item, "Value"), item.Value); }
function attempt(act) { try { const got = act(); if (got !== undefined) print(got); } catch (error) { print(error); } }
)" + script);
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

TEST(ScriptValues, AreWrittenReadAndRefusedAsTheManualSays)
{
    static const QRegularExpression row(u"^\\| `(.*)` \\| `(.*)` \\|$"_s, QRegularExpression::MultilineOption);
    QByteArray script;
    QStringList printed;
    const QString section = Manual().section(u"\n## Values and errors one by one\n"_s, 1).section(u"\n## "_s, 0, 0);
    for (const auto& match : row.globalMatch(section)) {
        script += "attempt(() => " + match.captured(1).toUtf8() + ");\n";
        printed << match.captured(2);
    }
    EXPECT_EQ(printed.size(), 33);
    EXPECT_EQ(OutputOf(script).split(u'\n'), printed + QStringList(QString()));
}
