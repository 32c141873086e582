#include "server/sources/modbus/Form.h"

#include "core/automation/NumberText.h"
#include "velsqllib/TypeCode.h"

#include <QRegularExpression>

#include <cmath>
#include <optional>

namespace {

using Part = VariableError::Part;

constexpr int Registers = 65'536;

struct AreaName
{
    QStringView Name;
    Area Place;
};
constexpr AreaName AreaNames[] = {
    {u"coil", Area::Coil},
    {u"discrete", Area::Discrete},
    {u"input", Area::Input},
    {u"holding", Area::Holding},
};

struct CodingName
{
    QStringView Name;
    Coding Element;
};
constexpr CodingName CodingNames[] = {
    {u"BOOL", Coding::Bool}, {u"I2", Coding::I2},    {u"UI2", Coding::UI2},   {u"I4", Coding::I4},
    {u"UI4", Coding::UI4},   {u"I8", Coding::I8},    {u"UI8", Coding::UI8},   {u"R4", Coding::R4},
    {u"R8", Coding::R8},     {u"BCD", Coding::Bcd4}, {u"BCD8", Coding::Bcd8}, {u"TEXT", Coding::Text},
};

struct OrderName
{
    QStringView Name;
    Order Bytes;
};
constexpr OrderName OrderNames[] = {
    {u"ABCD", {false, false}},
    {u"CDAB", {true, false}},
    {u"BADC", {false, true}},
    {u"DCBA", {true, true}},
};

/// What an item of a type is read from when the option does not say it.
struct UsualCoding
{
    VarType Type;
    Coding Element;
};
constexpr UsualCoding UsualCodings[] = {
    {VT_BOOL, Coding::Bool}, {VT_I1, Coding::I2},   {VT_UI1, Coding::UI2}, {VT_I2, Coding::I2}, {VT_UI2, Coding::UI2},
    {VT_I4, Coding::I4},     {VT_UI4, Coding::UI4}, {VT_R4, Coding::R4},   {VT_R8, Coding::R8}, {VT_BSTR, Coding::Text},
};

template <typename Table>
auto FindName(const Table& table, const QString& name)
{
    return std::ranges::find_if(table,
                                [&](const auto& entry) { return name.compare(entry.Name, Qt::CaseInsensitive) == 0; });
}

double NumberOf(const QString& word, const QString& number)
{
    const auto value = ParseNumber(number);
    if (!value || !std::isfinite(*value))
        throw VariableError(Part::Option, QStringLiteral("\"%1\" has no number").arg(word));
    return *value;
}

/// "scale=0.1", "offset=-40", "write=block".
bool ReadSetting(const QString& word, Form& form)
{
    const QString key = word.section(u'=', 0, 0).toLower();
    const QString value = word.section(u'=', 1);
    if (key == QStringLiteral("scale")) {
        form.Scale = NumberOf(word, value);
        if (form.Scale == 0.0) throw VariableError(Part::Option, QStringLiteral("scale must not be 0"));
    } else if (key == QStringLiteral("offset")) {
        form.Offset = NumberOf(word, value);
    } else if (word == QStringLiteral("write=single")) {
        form.Writing = WriteBy::Single;
    } else if (word == QStringLiteral("write=block")) {
        form.Writing = WriteBy::Block;
    } else {
        return false;
    }
    return true;
}

std::optional<Coding> ReadOption(const QString& option, Form& form)
{
    std::optional<Coding> element;
    static const QRegularExpression blanks(QStringLiteral("[ \t,]+"));
    for (const QString& word : option.split(blanks, Qt::SkipEmptyParts)) {
        const auto coding = FindName(CodingNames, word);
        const auto order = FindName(OrderNames, word);
        if (coding != std::end(CodingNames) && !element) element = coding->Element;
        else if (order != std::end(OrderNames)) form.Bytes = order->Bytes;
        else if (!ReadSetting(word, form))
            throw VariableError(
                Part::Option,
                QStringLiteral("\"%1\" is not one of a type such as I2 or R4, an order such as CDAB, scale=, offset=, "
                               "write=single, write=block")
                    .arg(word));
    }
    return element;
}

/// Where it lies; how many registers only when it is a range.
std::optional<qint32> ReadPlace(const QString& name, int firstAddress, Form& form)
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\s*([a-zA-Z]+):([0-9]{1,5})(?:-([0-9]{1,5}))?(?:\\.([0-9]{1,2}))?\\s*$"));
    const auto match = pattern.match(name);
    const auto area = FindName(AreaNames, match.captured(1));
    if (!match.hasMatch() || area == std::end(AreaNames))
        throw VariableError(Part::Name, QStringLiteral("\"%1\" is not a variable such as holding:40, input:100-119, "
                                                       "coil:3 or holding:7.15")
                                            .arg(name));
    form.Place = area->Place;
    const int first = match.captured(2).toInt() - firstAddress;
    const bool isRange = match.hasCaptured(3) && !match.captured(3).isEmpty();
    const int last = isRange ? match.captured(3).toInt() - firstAddress : first;
    if (first < 0 || last < first || last >= Registers)
        throw VariableError(Part::Name, QStringLiteral("\"%1\" is not within %2 and %3 or counts down")
                                            .arg(name)
                                            .arg(firstAddress)
                                            .arg(Registers - 1 + firstAddress));
    form.First = static_cast<quint16>(first);
    if (!match.captured(4).isEmpty()) form.Bit = static_cast<qint8>(match.captured(4).toInt());
    if (form.Bit > 15) throw VariableError(Part::Name, QStringLiteral("a register has the bits 0 to 15"));
    if (form.Bit >= 0 && (isRange || IsBits(form.Place)))
        throw VariableError(Part::Name, QStringLiteral("only a single register has bits"));
    return isRange ? std::optional(last - first + 1) : std::nullopt;
}

Coding CodingFor(const Form& form, std::optional<Coding> asked)
{
    const bool isBool = IsBits(form.Place) || form.Bit >= 0;
    if (isBool && asked && *asked != Coding::Bool)
        throw VariableError(Part::Option, QStringLiteral("a bit is BOOL and nothing else"));
    if (asked) return *asked;
    if (isBool) return Coding::Bool;
    if (form.Type == VT_VARIANT) return Coding::UI2;
    const auto usual = std::ranges::find(UsualCodings, form.Type, &UsualCoding::Type);
    if (usual == std::end(UsualCodings))
        throw VariableError(
            Part::Option,
            QStringLiteral("an item of %1 needs a type in its option, such as I8").arg(TypeName(form.Type)));
    return usual->Element;
}

/// A range is one text, or as many elements as fit into it exactly.
void SetCount(Form& form, std::optional<qint32> range, const QString& name)
{
    const int size = form.ElementSize();
    form.Count = range.value_or(size);
    if (form.Element == Coding::Text) {
        if (form.IsArray) throw VariableError(Part::Name, QStringLiteral("an array has no texts"));
        return;
    }
    if (form.Count % size != 0)
        throw VariableError(Part::Name, QStringLiteral("\"%1\" has %2 registers, which %3 do not divide")
                                            .arg(name, QString::number(form.Count), QString::number(size)));
    const bool isOne = form.Count == size;
    if (form.Type == VT_VARIANT && !isOne) form.IsArray = true;
    if (!isOne && !form.IsArray)
        throw VariableError(Part::Name, QStringLiteral("\"%1\" holds %2 values, and the item is not an array")
                                            .arg(name, QString::number(form.Count / size)));
    if (form.First + form.Count > Registers)
        throw VariableError(Part::Name, QStringLiteral("\"%1\" goes beyond the last register").arg(name));
}

} // namespace

Form ParseForm(const VariableText& text, int firstAddress, Order usual)
{
    Form form;
    form.Bytes = usual;
    form.IsArray = (text.Type & VT_ARRAY) != 0;
    form.Type = ElementOf(text.Type);
    const auto range = ReadPlace(text.Name, firstAddress, form);
    form.Element = CodingFor(form, ReadOption(text.Option, form));
    const bool isPlain = form.Scale == 1.0 && form.Offset == 0.0;
    if (!isPlain && (form.Element == Coding::Bool || form.Element == Coding::Text))
        throw VariableError(Part::Option, QStringLiteral("only numbers have a scale and an offset"));
    if (form.Writing == WriteBy::Block && form.Bit >= 0)
        throw VariableError(Part::Option, QStringLiteral("a bit of a register is not written as a block"));
    SetCount(form, range, text.Name);
    return form;
}

QString PlaceText(const Form& form, int firstAddress)
{
    const auto area = std::ranges::find(AreaNames, form.Place, &AreaName::Place);
    QString text = QStringLiteral("%1:%2").arg(area->Name).arg(form.First + firstAddress);
    if (form.Count > 1) text += QStringLiteral("-%1").arg(form.First + firstAddress + form.Count - 1);
    if (form.Bit >= 0) text += QStringLiteral(".%1").arg(form.Bit);
    return text;
}
