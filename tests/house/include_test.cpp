#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Folders = std::set<std::string>;

/// The house from the ground up: which folder may include from which others. A folder always includes from itself, and
/// tests and bench from everywhere.
const std::map<std::string, Folders> MayInclude = {
    {"core/automation", {}},
    {"core", {"core/automation"}},
    {"commandline", {"core/automation"}},
    {"velsqllib", {"core/automation"}},
    {"additem", {"core", "core/automation"}},
    {"perfcheck", {"core", "core/automation"}},
    {"history", {"core", "core/automation"}},
    {"batchwrite", {"core", "core/automation"}},
    {"scripttool", {"core", "core/automation"}},
    {"scripttool/velsqlscript", {"commandline", "velsqllib", "core/automation"}},
    {"controller", {"additem", "core", "core/automation"}},
    {"item", {"perfcheck", "core", "core/automation"}},
    {"mainwindow",
     {"controller", "item", "additem", "perfcheck", "history", "batchwrite", "scripttool", "core", "core/automation"}},
    {"server/log", {"velsqllib", "core/automation"}},
    {"server/plant", {"velsqllib", "core/automation"}},
    {"server/definition", {"server/plant", "velsqllib", "core/automation"}},
    {"server/history", {"server/log", "server/plant", "velsqllib", "core/automation"}},
    {"server/plantfile", {"server/definition", "server/history", "server/plant", "velsqllib", "core/automation"}},
    {"server/added",
     {"server/plantfile", "server/definition", "server/log", "server/plant", "velsqllib", "core/automation"}},
    {"server/rpc", {"server/history", "server/log", "server/plant", "velsqllib", "core/automation"}},
    {"server/commands", {"server/rpc", "server/history", "server/plant", "velsqllib", "core/automation"}},
    {"server",
     {"server/commands", "server/rpc", "server/added", "server/plantfile", "server/definition", "server/history",
      "server/log", "server/plant", "commandline", "velsqllib", "core/automation"}},
    {"app", {"mainwindow", "commandline", "velsqllib", "core", "core/automation"}},
};

/// The innermost folder of the house that a path belongs to; empty outside. The wire's own headers count as the library
/// that knows the wire.
std::string FolderOf(fs::path path)
{
    static const std::regex Wire(R"((capnp|kj)/.*|velsqllib\.capnp\.h)");
    if (std::regex_match(path.generic_string(), Wire)) return "velsqllib";
    while (path.has_parent_path() && path != path.parent_path()) {
        path = path.parent_path();
        if (MayInclude.contains(path.generic_string())) return path.generic_string();
    }
    return {};
}

/// What is wrong with a file including a path; empty when nothing is. Angled includes only matter when they name a
/// folder of the house.
std::string Complaint(const std::string& file, const std::string& include, bool angled)
{
    static const std::regex Generated(R"(ui_\w+\.h|\w+\.moc|moc_\w+\.cpp)");
    const std::string from = FolderOf(file);
    const std::string to = FolderOf(include);
    static const std::regex Anywhere(R"((tests|bench|cmake)/.*)");
    if (std::regex_match(file, Anywhere) || std::regex_match(include, Generated)) return {};
    if (to.empty() && angled) return {};
    if (to.empty()) return file + " includes \"" + include + "\", which is not written from the root\n";
    if (from.empty()) return file + " lies outside the house and includes " + to + '\n';
    if (from == to || MayInclude.at(from).contains(to)) return {};
    return file + " includes \"" + include + "\", but " + from + " may not include " + to + '\n';
}

/// Complaints about one file's text: its includes, and for a form the headers of its widgets.
std::string ComplaintsAbout(const std::string& file, const std::string& text)
{
    static const std::regex Include(R"re((?:^|\n)[ \t]*#[ \t]*include[ \t]*(["<])([^">\n]+)[">])re");
    static const std::regex FormHeader(R"re(<header( location="global")?>([^<]+)</header>)re");
    const bool form = file.ends_with(".ui");
    std::string complaints;
    for (std::sregex_iterator match(text.begin(), text.end(), form ? FormHeader : Include), end; match != end; ++match)
        complaints += Complaint(file, match->str(2), form ? (*match)[1].matched : match->str(1) == "<");
    return complaints;
}

/// All sources below `root`, as paths from there; neither build trees nor hidden folders.
std::vector<std::string> SourcesBelow(const fs::path& root)
{
    static const Folders Extensions = {".h", ".cpp", ".ui"};
    std::vector<std::string> files;
    for (fs::recursive_directory_iterator entry(root), end; entry != end; ++entry) {
        const std::string name = entry->path().filename().string();
        if (entry->is_directory() && (name.starts_with("build") || name.starts_with("."))) {
            entry.disable_recursion_pending();
        } else if (Extensions.contains(entry->path().extension().string())) {
            files.push_back(entry->path().lexically_relative(root).generic_string());
        }
    }
    return files;
}

TEST(Includes, OnlyPointDownwards)
{
    const fs::path root = VELSQL_SOURCE_DIR;
    Folders unseen;
    for (const auto& [folder, others] : MayInclude) unseen.insert(folder);
    std::string complaints;
    for (const std::string& file : SourcesBelow(root)) {
        unseen.erase(FolderOf(file));
        std::ifstream stream(root / file, std::ios::binary);
        complaints += ComplaintsAbout(file, {std::istreambuf_iterator<char>(stream), {}});
    }
    EXPECT_EQ(complaints, "");
    EXPECT_EQ(unseen, Folders()) << "no source was read there";
}

TEST(Includes, ArrowsOutsideThePictureAreRefused)
{
    const std::pair<std::string, std::string> refused[] = {
        {"core/automation/Variant.cpp", R"(#include "core/modMain.h")"},
        {"core/modMain.cpp", "#include <mainwindow/frmMDI.h>"},
        {"core/modMain.cpp", R"(#include "modMain.h")"},
        {"core/modMain.cpp", "#pragma once\n  #  include\t\"item/frmItem.h\" // deep down"},
        {"item/frmItem.cpp", R"(#include "velsqllib.capnp.h")"},
        {"mainwindow/frmMDI.cpp", "#include <kj/async-io.h>"},
        {"item/frmItem.cpp", R"(#include "../perfcheck/frmPerfChk.h")"},
        {"item/frmItem.ui", "<header>history/ResultGrid.h</header>"},
        {"item/frmItem.ui", R"(<header location="global">history/ResultGrid.h</header>)"},
        {"scripttool/frmScript.cpp", R"(#include "velsqllib/RemoteLibrary.h")"},
        {"stray/Stray.cpp", R"(#include "core/modMain.h")"},
    };
    for (const auto& [file, line] : refused) EXPECT_NE(ComplaintsAbout(file, line), "") << file << ": " << line;
}

} // namespace
