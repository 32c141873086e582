#include "server/plantfile/FileTable.h"

#include <algorithm>

namespace {

/// An item has about so many.
constexpr std::size_t MostKeys = 32;

bool IsBlank(const toml::node& node)
{
    if (const auto* text = node.as_string()) return text->get().empty();
    const toml::table* table = node.as_table();
    return table && std::all_of(table->begin(), table->end(), [](const auto& entry) { return IsBlank(entry.second); });
}

} // namespace

FileTable::FileTable(const toml::table& table, Mistakes& mistakes)
    : m_Table(&table)
    , m_Mistakes(&mistakes)
{
}

FileTable FileTable::Row(const toml::table& texts, Mistakes& mistakes, int line)
{
    FileTable row(texts, mistakes);
    row.m_IsRow = true;
    row.m_Line = line;
    return row;
}

FileTable FileTable::WithNumber(const RangeNumber& number) const
{
    FileTable numbered = *this;
    numbered.m_Number = number;
    return numbered;
}

void FileTable::Know(const char* key)
{
    if (m_Known.empty()) m_Known.reserve(MostKeys);
    m_Known.push_back(key);
}

const toml::node* FileTable::Find(const char* key) const
{
    const toml::node* node = m_Table->get(key);
    return node && m_IsRow && IsBlank(*node) ? nullptr : node;
}

int FileTable::LineOf(const toml::node& node) const
{
    return m_Line ? m_Line : static_cast<int>(node.source().begin.line);
}

bool FileTable::IsListOfTexts(const char* key) const
{
    const toml::node* node = Find(key);
    const toml::array* list = node ? node->as_array() : nullptr;
    return m_IsRow || (list && (list->empty() || list->is_homogeneous(toml::node_type::string)));
}

int FileTable::Line(const char* key) const
{
    const toml::node* node = Find(key);
    return LineOf(node ? *node : *m_Table);
}

void FileTable::Refuse(const char* key, const QString& what) const
{
    PlaceOf(key).Refuse(key, what);
}

void FileTable::RefuseMissing(const char* key) const
{
    m_Mistakes->Add(LineOf(*m_Table), QStringLiteral("%1 is missing").arg(QString::fromUtf8(key)));
}

std::vector<FileTable> FileTable::Tables(const char* key)
{
    Know(key);
    std::vector<FileTable> tables;
    const toml::node* node = Find(key);
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
    Know(key);
    const toml::node* node = Find(key);
    if (!node) return {};
    if (const toml::table* table = node->as_table()) {
        FileTable part(*table, *m_Mistakes);
        part.m_Line = m_Line;
        part.m_IsRow = m_IsRow;
        part.m_Number = m_Number;
        return {part};
    }
    Refuse(key, QStringLiteral("a table must stand here"));
    return {};
}

void FileTable::RefuseOthers() const
{
    for (const auto& [key, node] : *m_Table) {
        const std::string_view name = key.str();
        const bool isKnown = std::find(m_Known.begin(), m_Known.end(), name) != m_Known.end();
        if (isKnown || (m_IsRow && IsBlank(node))) continue;
        m_Mistakes->Add(m_Line ? m_Line : static_cast<int>(key.source().begin.line),
                        QStringLiteral("%1 is not known here")
                            .arg(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))));
    }
}
