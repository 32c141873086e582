#include "server/plantfile/FileTable.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/DateText.h"

#include <cmath>
#include <limits>
#include <QDateTime>

namespace {

int LineOf(const toml::node& node)
{
    return static_cast<int>(node.source().begin.line);
}

QString ToText(const std::string& text)
{
    return QString::fromStdString(text);
}

QString Spelled(const toml::date& date)
{
    return QStringLiteral("%1-%2-%3")
        .arg(date.year, 4, 10, QChar(u'0'))
        .arg(date.month, 2, 10, QChar(u'0'))
        .arg(date.day, 2, 10, QChar(u'0'));
}

QString Spelled(const toml::time& time)
{
    const QTime second(time.hour, time.minute, time.second);
    return second.toString(u"hh:mm:ss.") + QString::number(time.nanosecond).rightJustified(9, u'0');
}

/// In local time, as the server's dates are.
QString Spelled(const toml::date_time& time)
{
    if (!time.offset) return Spelled(time.date) + u' ' + Spelled(time.time);
    const QDateTime utc(QDate(time.date.year, time.date.month, time.date.day),
                        QTime(time.time.hour, time.time.minute, time.time.second), Qt::UTC);
    const QDateTime local = utc.addSecs(-60 * time.offset->minutes).toLocalTime();
    return local.toString(u"yyyy-MM-dd ") +
           Spelled(toml::time{static_cast<uint8_t>(local.time().hour()), static_cast<uint8_t>(local.time().minute()),
                              static_cast<uint8_t>(local.time().second()), time.time.nanosecond});
}

/// Throws ValueError outside the years that a DATE can say.
Variant TimeToVariant(const toml::node& node)
{
    if (const auto* date = node.as_date()) return ReadDate(Spelled(date->get()));
    if (const auto* time = node.as_time()) return ReadDate(Spelled(time->get()));
    return ReadDate(Spelled(node.as_date_time()->get()));
}

Variant ToVariant(std::int64_t number)
{
    const bool fits = number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max();
    return fits ? Variant(static_cast<qint32>(number)) : Variant(static_cast<double>(number));
}

} // namespace

Mistakes::Mistakes(QString file)
    : m_File(std::move(file))
{
}

void Mistakes::Add(int line, const QString& what)
{
    if (!m_Texts.contains(line, what)) m_Texts.insert(line, what); // what is read twice is said once
}

QStringList Mistakes::Texts() const
{
    QStringList texts;
    for (auto mistake = m_Texts.begin(); mistake != m_Texts.end(); ++mistake)
        texts.append(QStringLiteral("%1:%2: %3").arg(m_File).arg(mistake.key()).arg(mistake.value()));
    return texts;
}

FileTable::FileTable(const toml::table& table, Mistakes& mistakes)
    : m_Table(&table)
    , m_Mistakes(&mistakes)
{
}

bool FileTable::IsListOfTexts(const char* key) const
{
    const toml::array* list = m_Table->get(key) ? m_Table->get(key)->as_array() : nullptr;
    return list && (list->empty() || list->is_homogeneous(toml::node_type::string));
}

bool FileTable::AreNumbers(std::initializer_list<const char*> keys) const
{
    return std::all_of(keys.begin(), keys.end(), [&](const char* key) {
        const toml::node* node = m_Table->get(key);
        return !node || (node->is_number() && std::isfinite(node->value_or(0.0)));
    });
}

int FileTable::Line(const char* key) const
{
    const toml::node* node = m_Table->get(key);
    return LineOf(node ? *node : *m_Table);
}

void FileTable::Refuse(const char* key, const QString& what) const
{
    m_Mistakes->Add(Line(key), QStringLiteral("%1: %2").arg(QString::fromUtf8(key), what));
}

void FileTable::RefuseMissing(const char* key) const
{
    m_Mistakes->Add(LineOf(*m_Table), QStringLiteral("%1 is missing").arg(QString::fromUtf8(key)));
}

template <typename T, typename Convert>
auto FileTable::Read(const char* key, const char16_t* form,
                     decltype(std::declval<Convert>()(std::declval<T>())) fallback, Convert convert)
{
    m_Known.insert(QString::fromUtf8(key));
    const toml::node* node = m_Table->get(key);
    if (!node) return fallback;
    const auto value = node->value<T>();
    if (value && node->is_boolean() == std::is_same_v<T, bool>) return convert(*value);
    Refuse(key, QStringLiteral("%1 must stand here").arg(QStringView(form)));
    return fallback;
}

QString FileTable::Text(const char* key, const QString& fallback)
{
    return Read<std::string>(key, u"a text", fallback, &ToText);
}

QString FileTable::Name(const char* key)
{
    QString name = Text(key);
    if (!Has(key)) RefuseMissing(key);
    else if (name.isEmpty() && m_Table->get(key)->is_string()) Refuse(key, QStringLiteral("it is empty"));
    return name;
}

bool FileTable::Flag(const char* key, bool fallback)
{
    return Read<bool>(key, u"true or false", fallback, [](bool flag) { return flag; });
}

qint32 FileTable::Integer(const char* key, qint32 lowest, qint32 highest, qint32 fallback)
{
    return Read<std::int64_t>(key, u"a whole number", fallback, [&](std::int64_t number) {
        if (number >= lowest && number <= highest) return static_cast<qint32>(number);
        Refuse(key, QStringLiteral("%1 is not within %2 and %3").arg(number).arg(lowest).arg(highest));
        return fallback;
    });
}

double FileTable::Number(const char* key, double fallback)
{
    return Read<double>(key, u"a number", fallback, [&](double number) {
        if (std::isfinite(number)) return number;
        Refuse(key, QStringLiteral("it must be finite"));
        return fallback;
    });
}

int FileTable::Choice(const char* key, const QStringList& choices, int fallback)
{
    const QString text = Text(key, choices[fallback]);
    const auto choice = static_cast<int>(choices.indexOf(text));
    if (choice >= 0) return choice;
    Refuse(key, QStringLiteral("\"%1\" is none of %2").arg(text, choices.join(QStringLiteral(", "))));
    return fallback;
}

Variant FileTable::Value(const char* key)
{
    m_Known.insert(QString::fromUtf8(key));
    const toml::node* node = m_Table->get(key);
    return node ? ToVariant(*node) : Variant();
}

QList<Variant> FileTable::Values(const char* key)
{
    const Variant values = Value(key);
    if (values.IsArray()) return values.Array().Of<Variant>();
    if (!values.IsEmpty()) Refuse(key, QStringLiteral("a list must stand here"));
    return {};
}

QStringList FileTable::Texts(const char* key)
{
    QStringList texts;
    for (const Variant& value : Values(key)) {
        if (const QString* text = value.GetIf<QString>()) texts.append(*text);
        else Refuse(key, QStringLiteral("a list of texts must stand here"));
    }
    return texts;
}

std::vector<FileTable> FileTable::Tables(const char* key)
{
    m_Known.insert(QString::fromUtf8(key));
    std::vector<FileTable> tables;
    const toml::node* node = m_Table->get(key);
    if (!node) return tables;
    const toml::array* array = node->as_array();
    if (!array || !array->is_homogeneous(toml::node_type::table)) {
        Refuse(key, QStringLiteral("it must be written as [[...%1]]").arg(QString::fromUtf8(key)));
        return tables;
    }
    for (const toml::node& table : *array) tables.emplace_back(*table.as_table(), *m_Mistakes);
    return tables;
}

std::vector<FileTable> FileTable::OptionalTable(const char* key)
{
    m_Known.insert(QString::fromUtf8(key));
    const toml::node* node = m_Table->get(key);
    if (!node) return {};
    if (const toml::table* table = node->as_table()) return {FileTable(*table, *m_Mistakes)};
    Refuse(key, QStringLiteral("a table must stand here"));
    return {};
}

void FileTable::RefuseOthers() const
{
    for (const auto& [key, node] : *m_Table) {
        const QString name = QString::fromUtf8(key.data(), static_cast<qsizetype>(key.length()));
        if (!m_Known.contains(name))
            m_Mistakes->Add(static_cast<int>(key.source().begin.line),
                            QStringLiteral("%1 is not known here").arg(name));
    }
}

Variant FileTable::ToVariant(const toml::node& node)
{
    if (const auto* text = node.as_string()) return ToText(text->get());
    if (const auto* number = node.as_integer()) return ::ToVariant(number->get());
    if (const auto* number = node.as_floating_point()) return number->get();
    if (const auto* flag = node.as_boolean()) return flag->get();
    if (node.is_date() || node.is_time() || node.is_date_time()) {
        try {
            return TimeToVariant(node);
        } catch (const ValueError& error) {
            m_Mistakes->Add(LineOf(node), error.Description());
            return {};
        }
    }
    if (const auto* array = node.as_array()) {
        QList<Variant> values;
        for (const toml::node& element : *array) values.append(ToVariant(element));
        return SafeArray(std::move(values));
    }
    m_Mistakes->Add(LineOf(node), QStringLiteral("this cannot be a value"));
    return {};
}
