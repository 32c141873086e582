#include "server/plantfile/FileTable.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "server/plantfile/PlainValue.h"

#include <cmath>
#include <limits>

// What stands in a table, as what it is asked for.

namespace {

QString ToText(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

QString FileTable::Filled(const char* key, const std::string& text) const
{
    if (!m_Number) return ToText(text);
    try {
        return FillIn(ToText(text), *m_Number);
    } catch (const DescribedError& error) {
        Refuse(key, error.Description());
        return ToText(text);
    }
}

template <typename T>
std::optional<T> FileTable::As(const char* key, const toml::node& node) const
{
    const auto* text = node.as_string();
    if constexpr (std::is_same_v<T, QString>) {
        return text ? std::optional(Filled(key, text->get())) : std::nullopt;
    } else {
        if (text && (m_IsRow || m_Number)) return ParseCell<T>(Filled(key, text->get()));
        return node.is_boolean() == std::is_same_v<T, bool> ? node.value<T>() : std::nullopt;
    }
}

bool FileTable::AreNumbers(std::initializer_list<const char*> keys) const
{
    return std::all_of(keys.begin(), keys.end(), [&](const char* key) {
        const toml::node* node = Find(key);
        return !node || std::isfinite(As<double>(key, *node).value_or(std::numeric_limits<double>::quiet_NaN()));
    });
}

template <typename T, typename Convert>
auto FileTable::Read(const char* key, const char16_t* form,
                     decltype(std::declval<Convert>()(std::declval<T>())) fallback, Convert convert)
{
    Know(key);
    const toml::node* node = Find(key);
    if (!node) return fallback;
    if (const auto value = As<T>(key, *node)) return convert(*value);
    Refuse(key, QStringLiteral("%1 must stand here").arg(QStringView(form)));
    return fallback;
}

QString FileTable::Text(const char* key, const QString& fallback)
{
    return Read<QString>(key, u"a text", fallback, [](const QString& text) { return text; });
}

QString FileTable::Name(const char* key)
{
    QString name = Text(key);
    if (!Has(key)) RefuseMissing(key);
    else if (name.isEmpty() && Find(key)->is_string()) Refuse(key, QStringLiteral("it is empty"));
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
    if (!Has(key)) {
        Know(key);
        return fallback;
    }
    const QString text = Text(key, choices[fallback]);
    const auto choice = static_cast<int>(choices.indexOf(text));
    if (choice >= 0) return choice;
    Refuse(key, QStringLiteral("\"%1\" is none of %2").arg(text, choices.join(QStringLiteral(", "))));
    return fallback;
}

Variant FileTable::Value(const char* key, bool typed)
{
    Know(key);
    const toml::node* node = Find(key);
    return node ? ToVariant(key, *node, typed) : Variant();
}

bool FileTable::IsListInRow(const toml::node& node) const
{
    return m_IsRow && node.is_string() && node.as_string()->get().starts_with('[');
}

/// What `read` finds in a row's text that is written as a list in TOML is.
template <typename T>
T FileTable::ReadList(const char* key, T (FileTable::*read)(const char*))
{
    const std::string line = std::string(key) + " = " + Filled(key, Find(key)->as_string()->get()).toStdString();
    try {
        const toml::table table = toml::parse(std::string_view(line));
        FileTable list(table, *m_Mistakes);
        list.m_Line = m_Line;
        if (table.size() == 1) return (list.*read)(key);
    } catch (const toml::parse_error&) {
    }
    Refuse(key, QStringLiteral("a list such as [\"a\", 1] must stand here"));
    return {};
}

QList<Variant> FileTable::Values(const char* key)
{
    Know(key);
    const toml::node* node = Find(key);
    if (!node) return {};
    if (IsListInRow(*node)) return ReadList(key, &FileTable::Values);
    if (node->is_array()) return ToVariant(key, *node).Array().Of<Variant>();
    if (m_IsRow) return {ToVariant(key, *node)};
    Refuse(key, QStringLiteral("a list must stand here"));
    return {};
}

QStringList FileTable::Texts(const char* key)
{
    Know(key);
    const toml::node* node = Find(key);
    if (!node) return {};
    if (IsListInRow(*node)) return ReadList(key, &FileTable::Texts);
    if (m_IsRow) return {As<QString>(key, *node).value_or(QString())};
    if (!node->is_array()) {
        Refuse(key, QStringLiteral("a list must stand here"));
        return {};
    }
    QStringList texts;
    for (const toml::node& element : *node->as_array()) {
        if (const auto text = As<QString>(key, element)) texts.append(*text);
        else Refuse(key, QStringLiteral("a list of texts must stand here"));
    }
    return texts;
}

Variant FileTable::TextValue(const char* key, const std::string& text, bool typed) const
{
    const QString filled = Filled(key, text);
    if (typed) return filled;
    try {
        if (const auto number = m_Number ? OnlyNumber(ToText(text), *m_Number) : std::nullopt)
            return IntegerToVariant(*number);
    } catch (const DescribedError&) { // noted when it was filled in
    }
    return m_IsRow ? NumberInCell(filled).value_or(filled) : filled;
}

Variant FileTable::ToVariant(const char* key, const toml::node& node, bool typed) const
{
    if (const auto* text = node.as_string()) return TextValue(key, text->get(), typed);
    if (const auto* number = node.as_integer()) return IntegerToVariant(number->get());
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
        for (const toml::node& element : *array) values.append(ToVariant(key, element, typed));
        return SafeArray(std::move(values));
    }
    m_Mistakes->Add(LineOf(node), QStringLiteral("this cannot be a value"));
    return {};
}
