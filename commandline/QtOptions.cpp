#include "commandline/QtOptions.h"

namespace {

// Listed here because Qt reads them only once it has a window system.
const QStringList s_WithValue = {
    QStringLiteral("platform"),        QStringLiteral("platformpluginpath"),
    QStringLiteral("platformtheme"),   QStringLiteral("plugin"),
    QStringLiteral("qwindowgeometry"), QStringLiteral("geometry"),
    QStringLiteral("qwindowicon"),     QStringLiteral("icon"),
    QStringLiteral("qwindowtitle"),    QStringLiteral("title"),
    QStringLiteral("session"),         QStringLiteral("style"),
    QStringLiteral("stylesheet"),      QStringLiteral("display"),
    QStringLiteral("visual"),          QStringLiteral("name"),
};
const QStringList s_Alone = {
    QStringLiteral("reverse"),
    QStringLiteral("widgetcount"),
    QStringLiteral("nograb"),
    QStringLiteral("dograb"),
};

/// Qt accepts them with one dash or two.
QString NameOf(const QString& argument)
{
    if (!argument.startsWith(u'-')) return {};
    return argument.mid(argument.startsWith(QStringLiteral("--")) ? 2 : 1);
}

} // namespace

QStringList WithoutQtOptions(const QStringList& arguments)
{
    QStringList others = arguments.first(1);
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString name = NameOf(arguments[i]);
        const bool hasOwnValue = name.contains(u'=') && s_WithValue.contains(name.section(u'=', 0, 0));
        if (s_Alone.contains(name) || hasOwnValue) continue;
        if (s_WithValue.contains(name) && i + 1 < arguments.size()) ++i;
        else others << arguments[i];
    }
    return others;
}
