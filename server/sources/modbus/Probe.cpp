#include "server/sources/modbus/Probe.h"

#include "core/automation/PlainText.h"
#include "server/sources/modbus/Transport.h"

#include <QUrl>
#include <QUrlQuery>

namespace {

constexpr qint32 MostProbed = 1000;
constexpr std::chrono::milliseconds Timeout{2000};
const QString s_Tcp = QStringLiteral("modbus-tcp");
const QString s_Rtu = QStringLiteral("modbus-rtu");

struct Target
{
    LineSettings Line;
    quint8 Unit = 1;
};

int Number(const QString& text, int lowest, int highest, int fallback)
{
    if (text.isEmpty()) return fallback;
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < lowest || number > highest)
        throw DescribedError(QStringLiteral("\"%1\" is not a number from %2 to %3")
                                 .arg(text, QString::number(lowest), QString::number(highest)));
    return number;
}

Target ParseTarget(const QString& where)
{
    const QUrl url(where, QUrl::StrictMode);
    const QUrlQuery query(url);
    Target target;
    if (url.scheme() == s_Tcp && !url.host().isEmpty()) {
        target.Line.Host = url.host();
        target.Line.Port = url.port(target.Line.Port);
        target.Unit = static_cast<quint8>(Number(url.path().mid(1), 0, 255, 1));
        return target;
    }
    if (url.scheme() != s_Rtu || url.path().isEmpty())
        throw DescribedError(QStringLiteral("\"%1\" is not modbus-tcp://HOST:PORT/UNIT or "
                                            "modbus-rtu:///dev/ttyUSB0?unit=1&baud=19200&parity=even")
                                 .arg(where));
    const QString parity = query.queryItemValue(QStringLiteral("parity"));
    target.Line.Serial = url.path();
    target.Line.Baud = Number(query.queryItemValue(QStringLiteral("baud")), 50, 4'000'000, target.Line.Baud);
    target.Line.Parity = parity.isEmpty() ? 'E' : parity.at(0).toUpper().toLatin1();
    target.Unit = static_cast<quint8>(Number(query.queryItemValue(QStringLiteral("unit")), 0, 255, 1));
    return target;
}

struct Found
{
    std::optional<quint16> Value;
    QString Why; ///< why there is none
};

/// What is refused is looked at again in halves, so that it is refused alone.
void Ask(Transport& line, quint8 unit, const Span& where, std::vector<Found>& found, qint32 from)
{
    try {
        const auto values = ReadAnswer(where, line.Exchange(unit, ReadRequest(where), Timeout));
        for (qint32 i = 0; i < where.Count; ++i)
            found[static_cast<std::size_t>(where.First - from + i)].Value = values[static_cast<std::size_t>(i)];
    } catch (const ModbusError& error) {
        if (error.Why() != ModbusError::Kind::Refused) throw;
        const qint32 half = where.Count / 2;
        if (half == 0) found[static_cast<std::size_t>(where.First - from)].Why = error.Description();
        else {
            Ask(line, unit, {where.Place, where.First, half}, found, from);
            Ask(line, unit, {where.Place, where.First + half, where.Count - half}, found, from);
        }
    }
}

/// A reading of the registers from one on; empty when there are too few of them.
QString Reading(const std::vector<Found>& found, std::size_t at, Form form)
{
    const auto size = static_cast<std::size_t>(form.ElementSize());
    std::vector<quint16> registers;
    for (std::size_t i = at; i < std::min(found.size(), at + size); ++i)
        if (found[i].Value) registers.push_back(*found[i].Value);
    return registers.size() == size ? ToPlainText(Decode(form, registers)) : QString();
}

QString Letters(quint16 value)
{
    QString text;
    for (const int letter : {value >> 8, value & 0xFF}) text += letter >= 32 && letter < 127 ? QChar(letter) : u'.';
    return text;
}

QString Table(const Form& form, const std::vector<Found>& found)
{
    const char* const head =
        IsBits(form.Place)
            ? "address  value"
            : "address  hex   UI2    I2      I4 ABCD      I4 CDAB      R4 ABCD        R4 CDAB        text";
    QString text = QString::fromLatin1(head) + u'\n';
    for (std::size_t i = 0; i < found.size(); ++i) {
        QString line = QString::number(form.First + static_cast<int>(i)).leftJustified(9);
        const auto value = found[i].Value;
        const auto read = [&](Coding coding, bool swaps) {
            Form reading;
            reading.Element = coding;
            reading.Bytes.SwapsWords = swaps;
            return Reading(found, i, reading);
        };
        if (!value) line += found[i].Why;
        else if (IsBits(form.Place)) line += QString::number(*value);
        else
            line += QStringLiteral("%1  %2%3%4%5%6%7%8")
                        .arg(*value, 4, 16, QLatin1Char('0'))
                        .arg(*value, -7)
                        .arg(read(Coding::I2, false), -8)
                        .arg(read(Coding::I4, false), -13)
                        .arg(read(Coding::I4, true), -13)
                        .arg(read(Coding::R4, false), -15)
                        .arg(read(Coding::R4, true), -15)
                        .arg(Letters(*value));
        text += line.trimmed() + u'\n';
    }
    return text;
}

QString Draft(const Target& target, const std::vector<Form>& forms)
{
    const LineSettings& line = target.Line;
    const QString where = line.Serial.isEmpty()
                              ? QStringLiteral("protocol = \"modbus-tcp\"\nhost = \"%1\"\nport = %2")
                                    .arg(line.Host, QString::number(line.Port))
                              : QStringLiteral("protocol = \"modbus-rtu\"\nserial = \"%1\"\nbaud = %2")
                                    .arg(line.Serial, QString::number(line.Baud));
    QString text = QStringLiteral("# The beginning of a plant file for it:\n[[device]]\nname = \"Device\"\n%1\n"
                                  "unit = %2\n\n[[controller]]\nname = \"Controller\"\ndevice = \"Device\"\n")
                       .arg(where, QString::number(target.Unit));
    for (const Form& form : forms) {
        text += QStringLiteral("\n    [[controller.item]]\n    name = \"%1{%2..%3}\"\n    variable = \"%1:{n}\"\n")
                    .arg(PlaceText(form, 0).section(u':', 0, 0))
                    .arg(form.First)
                    .arg(form.First + form.Count - 1);
    }
    return text;
}

Form RangeOf(const QString& range)
{
    const Form form = ParseForm({range, {}, VT_VARIANT}, 0, {});
    if (form.Count > MostProbed || form.Bit >= 0)
        throw DescribedError(
            QStringLiteral("\"%1\" is not a range of at most %2 addresses").arg(range, QString::number(MostProbed)));
    return form;
}

} // namespace

QString ProbeModbus(const QString& where, const QStringList& ranges)
{
    const Target target = ParseTarget(where);
    std::vector<Form> forms;
    for (const QString& range : ranges) forms.push_back(RangeOf(range));
    const auto line = MakeTransport(target.Line, {});
    line->Connect();
    QString text;
    for (const Form& form : forms) {
        std::vector<Found> found(static_cast<std::size_t>(form.Count));
        const qint32 most = ReadLimits().Most(form.Place);
        for (qint32 at = 0; at < form.Count; at += most)
            Ask(*line, target.Unit, {form.Place, form.First + at, std::min(most, form.Count - at)}, found, form.First);
        if (forms.size() > 1) text += PlaceText(form, 0) + u'\n';
        text += Table(form, found) + u'\n';
    }
    return text + Draft(target, forms);
}
