#include "server/plant/Convert.h"
#include "server/sources/modbus/Pdu.h"
#include "server/sources/modbus/Refusals.h"
#include "tests/server/DocTables.h"

#include <random>

namespace {

VarType TypeOf(const QString& cell)
{
    static const std::map<QString, VarType> types = {
        {u"BOOL"_s, VT_BOOL}, {u"I2"_s, VT_I2}, {u"I4"_s, VT_I4},     {u"UI4"_s, VT_UI4},        {u"R4"_s, VT_R4},
        {u"R8"_s, VT_R8},     {u"CY"_s, VT_CY}, {u"BSTR"_s, VT_BSTR}, {u"VARIANT"_s, VT_VARIANT}};
    const QString name = Codes(cell).first();
    const VarType type = types.at(name.section(u'|', -1));
    return name.contains(u'|') ? ArrayOf(type) : type;
}

Form FormOf(const QStringList& row)
{
    return ParseForm({Codes(row[0]).first(), Codes(row[1]).join(QString()), TypeOf(row[2])}, 0, {});
}

/// The fewest requests for variables in the order of their registers, by trying all ways to cut them.
std::size_t FewestRequests(const std::vector<Form>& sorted, const ReadLimits& limits, const std::vector<Span>& refused)
{
    std::vector<std::size_t> fewest = {0};
    for (std::size_t end = 1; end <= sorted.size(); ++end) {
        fewest.push_back(SIZE_MAX);
        for (std::size_t begin = end; begin-- > 0;) {
            const Span all{Area::Holding, sorted[begin].First, sorted[end - 1].First + 1 - sorted[begin].First};
            const bool hasGap = begin + 1 < end && sorted[begin + 1].First - sorted[begin].First - 1 > limits.Gap;
            const bool isRefused = std::ranges::any_of(refused, [&](const Span& span) { return all.Contains(span); });
            if (hasGap || isRefused || all.Count > limits.Registers) break;
            fewest[end] = std::min(fewest[end], fewest[begin] + 1);
        }
    }
    return fewest.back();
}

} // namespace

TEST(ModbusForms, RegistersBecomeValuesAndValuesRegisters)
{
    for (const QStringList& row : TableBelow(u"Values of registers"_s)) {
        const Form form = FormOf(row);
        std::vector<quint16> registers;
        for (const QString& number : row[3].trimmed().split(u' ')) registers.push_back(number.toUShort());
        if (form.Bit >= 0) registers[0] = static_cast<quint16>(registers[0] << form.Bit);
        const QString value = OutcomeOf([&] { return ConvertTo(Decode(form, registers), TypeOf(row[2])); });
        const bool fails = row[4].contains(u"fails: "_s);
        EXPECT_EQ(value + (fails ? u"."_s : QString()), Expected(row[4])) << row.join(u'|').toStdString();
        if (form.Bit >= 0) registers[0] = 1;
        if (fails) continue;
        EXPECT_EQ(Encode(form, ReadTypedText(value)), registers) << row.join(u'|').toStdString();
    }
    for (const QStringList& row : TableBelow(u"Values that registers do not take"_s)) {
        const QString reason = OutcomeOf([&] { Encode(FormOf(row), ReadTypedText(Codes(row[3]).first())); });
        EXPECT_EQ(reason, row[4].trimmed()) << row.join(u'|').toStdString();
    }
    for (const QStringList& row : TableBelow(u"Wrong variables and options"_s)) {
        try {
            FormOf(row);
            ADD_FAILURE() << row.join(u'|').toStdString();
        } catch (const VariableError& error) {
            const bool isOption = error.Which() == VariableError::Part::Option;
            EXPECT_EQ((isOption ? u"option: "_s : u"variable: "_s) + error.Description(), row[3].trimmed());
        }
    }
    EXPECT_EQ(ParseForm({u"holding:1"_s, {}, VT_I2}, 1, {}).First, 0) << "the first address is 1";
}

TEST(ModbusForms, RequestsAreAsFewAsCanBeAndLeaveOutWhatIsRefused)
{
    std::mt19937 random(7);
    for (int round = 0; round < 500; ++round) {
        const ReadLimits limits{.Registers = 4 + static_cast<int>(random() % 20),
                                .Gap = static_cast<int>(random() % 6)};
        std::set<int> places;
        while (places.size() < 25) places.insert(static_cast<int>(random() % 100));
        std::vector<Form> variables;
        for (const int place : places) variables.push_back({.First = static_cast<quint16>(place)});
        std::vector<Span> refused; // not of a single register, which would be a variable that is left out
        for (int i = 0; i < 3; ++i) refused.push_back({Area::Holding, static_cast<int>(random() % 100), 2});
        const std::size_t fewest = FewestRequests(variables, limits, refused);
        std::ranges::shuffle(variables, random);
        const ReadPlan plan = PlanReading(variables, limits, refused);
        EXPECT_EQ(plan.Blocks.size(), fewest) << round;
        std::set<quint32> read;
        for (const ReadBlock& block : plan.Blocks) {
            EXPECT_LE(block.Where.Count, limits.Registers);
            for (const Piece& piece : block.Pieces)
                EXPECT_TRUE(block.Where.Contains(piece.Where) && read.insert(piece.Variable).second);
        }
        EXPECT_EQ(read.size(), variables.size());
    }
    // A long array is read in parts, a number never; a refused one is left out and parts its neighbours.
    const std::vector<Form> mixed = {{.IsArray = true, .First = 0, .Count = 10},
                                     {.Element = Coding::R4, .First = 10, .Count = 2},
                                     {.Place = Area::Coil, .Element = Coding::Bool, .First = 3},
                                     {.First = 20},
                                     {.First = 21},
                                     {.First = 22}};
    const Span bad{Area::Holding, 21, 1};
    const ReadPlan plan = PlanReading(mixed, {.Registers = 6, .Gap = 0}, {&bad, 1});
    std::vector<Span> spans;
    for (const ReadBlock& block : plan.Blocks) spans.push_back(block.Where);
    EXPECT_EQ(spans, (std::vector<Span>{{Area::Coil, 3, 1},
                                        {Area::Holding, 0, 6},
                                        {Area::Holding, 6, 6},
                                        {Area::Holding, 20, 1},
                                        {Area::Holding, 22, 1}}));
    ASSERT_EQ(plan.Unread.size(), 1u);
    EXPECT_EQ(plan.Unread[0].Variable, 4u);
}

TEST(ModbusForms, AnswersThatAreNoneAreTold)
{
    const Span two{Area::Holding, 7, 2};
    const auto outcome = [&](const Pdu& answer) { return OutcomeOf([&] { ReadAnswer(two, answer); }); };
    const std::pair<Pdu, QString> cases[] = {{{3, 4, 0, 1, 0, 2}, u"done"_s},
                                             {{}, u"its answer is garbled: it is empty"_s},
                                             {{4, 4, 0, 1, 0, 2}, u"its answer is garbled: function 4 instead of 3"_s},
                                             {{3, 4, 0, 1, 0}, u"its answer is garbled: 5 bytes instead of 6"_s},
                                             {{3, 6, 0, 1, 0, 2}, u"its answer is garbled: 6 bytes instead of 6"_s},
                                             {{0x83, 2}, u"Illegal data address (exception 2)"_s},
                                             {{0x83}, u"its answer is garbled: an exception of 1 bytes"_s},
                                             {{0x83, 200}, u"Exception (exception 200)"_s}};
    for (const auto& [answer, expected] : cases) EXPECT_EQ(outcome(answer), expected);
    const Pdu write = WriteOneRequest(Area::Coil, 3, 1);
    EXPECT_EQ(write, (Pdu{5, 0, 3, 0xFF, 0}));
    EXPECT_EQ(OutcomeOf([&] {
                  CheckWriteAnswer(write, Pdu{5, 0, 4, 0xFF, 0});
              }),
              u"its answer is garbled: it confirms another writing");
    const std::vector<quint16> bits = {1, 0, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(WriteBlockRequest(Area::Coil, 1, bits), (Pdu{15, 0, 1, 0, 9, 2, 1, 1}));
}

TEST(ModbusRefusals, AreTriedAgainSoonAndThenEverMoreRarely)
{
    using namespace std::chrono_literals;
    const Span span{Area::Holding, 7, 1};
    Refusals refusals;
    Refusals::Clock::time_point now{};
    const auto forgottenAfter = [&](Refusals::Clock::duration longest) {
        refusals.Learn(span, u"why"_s, now, longest);
        const auto began = now;
        for (; !refusals.Spans().empty(); now += 10s) refusals.ForgetOver(now);
        return std::chrono::duration_cast<std::chrono::seconds>(now - 10s - began).count();
    };
    QList<qint64> seconds;
    for (int i = 0; i < 11; ++i) seconds << forgottenAfter(1h);
    EXPECT_EQ(seconds, (QList<qint64>{10, 20, 40, 80, 160, 320, 640, 1280, 2560, 3600, 3600}));
    EXPECT_EQ(forgottenAfter(1min), 60) << "at most";
    refusals.ForgetAll();
    EXPECT_EQ(forgottenAfter(1h), 10) << "after a new connection";
}
