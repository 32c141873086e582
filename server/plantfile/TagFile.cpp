#include "server/plantfile/TagFile.h"

#include "server/plantfile/CsvReader.h"
#include "server/sources/replay/DataFile.h"

#include <QDir>

namespace {

/// The rows of a file of tags, one after the other in the same table of texts.
class TagRows
{
public:
    TagRows(QByteArray text, Mistakes& mistakes)
        : m_Csv(std::move(text))
        , m_Mistakes(mistakes)
    {
    }

    /// False, and a mistake, without columns that make items.
    bool ReadColumns()
    {
        std::vector<std::string> names;
        try {
            if (!m_Csv.Next(names)) m_Mistakes.Add(1, QStringLiteral("the names of the columns are missing"));
        } catch (const DescribedError& error) {
            m_Mistakes.Add(m_Csv.Line(), error.Description());
            return false;
        }
        for (const std::string& name : names) AddColumn(QString::fromStdString(name));
        const bool hasNames = m_Texts.contains("name") || m_Texts.contains("definition");
        if (!names.empty() && !hasNames) m_Mistakes.Add(m_Csv.Line(), QStringLiteral("there is no column \"name\""));
        return hasNames;
    }

    /// Calls `take` for each row, as long as it answers true.
    void ReadRows(const std::function<bool(FileTable)>& take)
    {
        std::vector<std::string> cells;
        for (bool goesOn = true; goesOn;) {
            try {
                if (!m_Csv.Next(cells)) return;
                Fill(cells);
                goesOn = take(FileTable::Row(m_Texts, m_Mistakes, m_Csv.Line()));
            } catch (const DescribedError& error) {
                m_Mistakes.Add(m_Csv.Line(), error.Description());
            }
        }
    }

private:
    /// Columns that are a mistake, or have no name, take no cells.
    void AddColumn(const QString& name)
    {
        static const QStringList keys = ItemReader::Keys();
        const bool isKnown = keys.contains(name);
        if (!isKnown && !name.isEmpty()) m_Mistakes.Add(m_Csv.Line(), QStringLiteral("%1 is not known here").arg(name));
        m_Columns.push_back(isKnown ? TextOf(name) : nullptr);
        m_IsNamed.push_back(!name.isEmpty());
    }

    /// Where the text of a column is kept; null, and a mistake, for a column that is there already.
    std::string* TextOf(const QString& name)
    {
        const QString group = name.contains(u'.') ? name.section(u'.', 0, 0) : QString();
        if (!group.isEmpty()) m_Texts.insert(group.toStdString(), toml::table());
        toml::table& table = group.isEmpty() ? m_Texts : *m_Texts[group.toStdString()].as_table();
        const auto [entry, isNew] = table.insert(name.section(u'.', -1).toStdString(), std::string());
        if (isNew) return &entry->second.as_string()->get();
        m_Mistakes.Add(m_Csv.Line(), QStringLiteral("there are two columns \"%1\"").arg(name));
        return nullptr;
    }

    void Fill(std::vector<std::string>& cells)
    {
        for (std::size_t i = 0; i < m_Columns.size(); ++i) {
            std::string* const text = m_Columns[i];
            if (text && i < cells.size()) text->swap(cells[i]);
            else if (text) text->clear();
        }
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const bool isNamed = i < m_IsNamed.size() && m_IsNamed[i];
            if (!isNamed && !cells[i].empty()) throw DescribedError(QStringLiteral("cell %1 has no column").arg(i + 1));
        }
    }

    CsvReader m_Csv;
    Mistakes& m_Mistakes;
    toml::table m_Texts;
    std::vector<std::string*> m_Columns; ///< where each cell of a row goes; null: nowhere
    std::vector<bool> m_IsNamed;
};

} // namespace

void ReadTags(const QString& file, ItemReader& reader, const ItemOwner& owner)
{
    const QString path = QDir::cleanPath(QDir(reader.Folder()).filePath(file));
    TagRows rows(OpenDataFile(path)->readAll(), reader.MistakesOf(path));
    if (!rows.ReadColumns()) return;
    rows.ReadRows([&](FileTable row) {
        reader.Read(std::move(row), owner);
        return !reader.IsFull();
    });
}
