#include "server/added/PlantText.h"

#include "server/plant/PlantController.h"
#include "server/plantfile/DefinitionToml.h"

#include <QMap>

#include <sstream>
#include <toml++/toml.h>

namespace {

int LineOf(const toml::node& node)
{
    return static_cast<int>(node.source().begin.line);
}

std::string_view View(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QString NameOf(const toml::node& controller)
{
    const toml::table* table = controller.as_table();
    const auto name = table ? (*table)["name"].value<std::string>() : std::nullopt;
    return QString::fromStdString(name.value_or(std::string()));
}

/// The lines, counted from 1, at which something other than the items of a controller begins.
QList<int> Beginnings(const toml::table& root)
{
    QList<int> lines;
    for (const auto& [key, node] : root) {
        lines.append(LineOf(node));
        const toml::array* parts = node.as_array();
        for (std::size_t i = 0; parts && i < parts->size(); ++i) lines.append(LineOf((*parts)[i]));
        const toml::table* table = node.as_table();
        if (!table) continue;
        for (const auto& [name, part] : *table) {
            const toml::array* tables = part.as_array();
            for (std::size_t i = 0; tables && i < tables->size(); ++i) lines.append(LineOf((*tables)[i]));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

/// The line, counted from 0, in front of which a controller's further items go: after its own items, and not between a
/// comment and what it is about.
qsizetype PlaceFor(int controllerLine, const QList<int>& beginnings, const QStringList& lines)
{
    const auto next = std::upper_bound(beginnings.begin(), beginnings.end(), controllerLine);
    qsizetype place = next == beginnings.end() ? lines.size() : *next - 1;
    const auto saysNothing = [](const QString& line) {
        return line.trimmed().isEmpty() || line.trimmed().startsWith(u'#');
    };
    while (place > controllerLine && saysNothing(lines[place - 1])) --place;
    return place;
}

std::size_t ItemCount(const toml::table& root)
{
    std::size_t count = 0;
    const toml::array* controllers = root["controller"].as_array();
    for (std::size_t i = 0; controllers && i < controllers->size(); ++i) {
        const toml::array* items = (*controllers)[i].as_table()->get_as<toml::array>("item");
        if (items) count += items->size();
    }
    return count;
}

/// Whether the changed text still has the meaning that it should: a line may have been part of a multi-line text.
bool HasAll(const QString& text, std::size_t items)
{
    try {
        const std::string toml = text.toStdString();
        return ItemCount(toml::parse(std::string_view(toml))) == items;
    } catch (const toml::parse_error&) {
        return false;
    }
}

/// For plants into which no lines can be inserted, for example because their controllers are written in one line each.
QString Rewritten(toml::table root, const QMap<QString, QList<PlantItemRef>>& added)
{
    for (toml::node& node : *root["controller"].as_array()) {
        for (const PlantItemRef& item : added.value(NameOf(node))) {
            const std::string text = "definition = " + DefinitionToToml(item->Traits().Definition).toStdString();
            if (!node.as_table()->contains("item")) node.as_table()->insert("item", toml::array());
            (*node.as_table())["item"].as_array()->push_back(toml::parse(text));
        }
    }
    std::ostringstream text;
    text << root;
    return QString::fromStdString(text.str());
}

} // namespace

QString PlantTextWith(const QByteArray& toml, const QList<PlantItemRef>& added)
{
    QMap<QString, QList<PlantItemRef>> byController;
    for (const PlantItemRef& item : added) byController[item->Controller()->Name()].append(item);
    const toml::table root = toml::parse(View(toml));
    const toml::array* controllers = root["controller"].as_array();
    QStringList lines = QString::fromUtf8(toml).split(u'\n');
    if (!controllers || added.isEmpty()) return lines.join(u'\n');
    const QList<int> beginnings = Beginnings(root);
    // From below, so that the lines above keep their numbers.
    for (std::size_t i = controllers->size(); i-- > 0;) {
        const toml::node& controller = (*controllers)[i];
        QString text;
        for (const PlantItemRef& item : byController.value(NameOf(controller)))
            text += QStringLiteral("\n    [[controller.item]]\n    definition = %1\n")
                        .arg(DefinitionToToml(item->Traits().Definition));
        if (!text.isEmpty()) lines.insert(PlaceFor(LineOf(controller), beginnings, lines), text.chopped(1));
    }
    const QString text = lines.join(u'\n');
    const std::size_t count = ItemCount(root) + static_cast<std::size_t>(added.size());
    return HasAll(text, count) ? text : Rewritten(root, byController);
}
