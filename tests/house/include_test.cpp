#include <gtest/gtest.h>

#include <algorithm>
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
    {"velsqllib", {"core/automation"}},
    {"additem", {"core", "core/automation"}},
    {"perfcheck", {"core", "core/automation"}},
    {"history", {"core", "core/automation"}},
    {"batchwrite", {"core", "core/automation"}},
    {"scripttool", {"core", "core/automation"}},
    {"scripttool/velsqlscript", {"velsqllib", "core/automation"}},
    {"controller", {"additem", "core", "core/automation"}},
    {"item", {"perfcheck", "core", "core/automation"}},
    {"mainwindow",
     {"controller", "item", "additem", "perfcheck", "history", "batchwrite", "scripttool", "core", "core/automation"}},
    {"server", {"velsqllib", "core/automation"}},
    {"app", {"mainwindow", "velsqllib", "core", "core/automation"}},
};

/// The innermost folder of the house that a path belongs to; empty outside.
std::string FolderOf(fs::path path)
{
    while (path.has_parent_path() && path != path.parent_path()) {
        path = path.parent_path();
        if (MayInclude.contains(path.generic_string())) return path.generic_string();
    }
    return {};
}

bool IsFree(const std::string& file)
{
    return file.starts_with("tests/") || file.starts_with("bench/");
}

bool IsGenerated(const std::string& include)
{
    static const std::regex Generated(R"(ui_\w+\.h|\w+\.moc|moc_\w+\.cpp)");
    return std::regex_match(include, Generated);
}

/// The folder that an include leads to; the wire's own headers count as the library that knows the wire.
std::string FolderOfInclude(const std::string& include)
{
    static const std::regex Wire(R"((capnp|kj)/.*|velsqllib\.capnp\.h)");
    return std::regex_match(include, Wire) ? "velsqllib" : FolderOf(include);
}

/// What is wrong with a file including a path; empty when nothing is. Angled includes only matter when they name a
/// folder of the house.
std::string Complaint(const std::string& file, const std::string& include, bool angled)
{
    if (IsFree(file) || IsGenerated(include)) return {};
    const std::string from = FolderOf(file);
    const std::string to = FolderOfInclude(include);
    if (to.empty() && angled) return {};
    if (to.empty()) return file + " includes \"" + include + "\", which is not written from the root";
    if (from.empty()) return file + " lies outside the house and includes " + to;
    if (from == to || MayInclude.at(from).contains(to)) return {};
    return file + " includes \"" + include + "\", but " + from + " may not include " + to;
}

std::string ReadFile(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Complaints about one file's text: its includes, and for a form the headers of its widgets.
std::vector<std::string> ComplaintsAbout(const std::string& file, const std::string& text)
{
    static const std::regex Include(R"re((?:^|\n)[ \t]*#[ \t]*include[ \t]*(["<])([^">\n]+)[">])re");
    static const std::regex FormHeader(R"re(<header( location="global")?>([^<]+)</header>)re");
    const bool form = file.ends_with(".ui");
    std::vector<std::string> complaints;
    for (std::sregex_iterator match(text.begin(), text.end(), form ? FormHeader : Include), end; match != end;
         ++match) {
        const bool angled = form ? (*match)[1].matched : match->str(1) == "<";
        const std::string complaint = Complaint(file, match->str(2), angled);
        if (!complaint.empty()) complaints.push_back(complaint);
    }
    return complaints;
}

bool IsSource(const fs::path& path)
{
    static const std::set<std::string> Extensions = {".h", ".cpp", ".ui"};
    return Extensions.contains(path.extension().string());
}

/// All sources below `root`, as paths from there; neither build trees nor hidden folders.
std::vector<std::string> SourcesBelow(const fs::path& root)
{
    std::vector<std::string> files;
    for (fs::recursive_directory_iterator entry(root), end; entry != end; ++entry) {
        const std::string name = entry->path().filename().string();
        if (entry->is_directory() && (name.starts_with("build") || name.starts_with("."))) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file() && IsSource(entry->path())) {
            files.push_back(entry->path().lexically_relative(root).generic_string());
        }
    }
    return files;
}

} // namespace

TEST(Includes, OnlyPointDownwards)
{
    const fs::path root = VELSQL_SOURCE_DIR;
    Folders seen;
    std::string complaints;
    for (const std::string& file : SourcesBelow(root)) {
        seen.insert(FolderOf(file));
        for (const std::string& complaint : ComplaintsAbout(file, ReadFile(root / file)))
            complaints += complaint + '\n';
    }
    EXPECT_EQ(complaints, "");
    for (const char* folder : {"core/automation", "core", "velsqllib", "mainwindow", "server", "app"}) {
        EXPECT_TRUE(seen.contains(folder)) << "no source was read in " << folder;
    }
}

TEST(Includes, ArrowsOutsideThePictureAreRefused)
{
    struct Arrow
    {
        const char* File;
        const char* Line;
        bool Allowed;
    };
    const Arrow arrows[] = {
        {"core/automation/Variant.cpp", R"(#include "core/modMain.h")", false},
        {"core/modMain.cpp", R"(#include "mainwindow/frmMDI.h")", false},
        {"core/modMain.cpp", R"(#include <mainwindow/frmMDI.h>)", false},
        {"core/modMain.cpp", R"(#include "modMain.h")", false},
        {"core/modMain.cpp", R"(  #  include	"item/frmItem.h" // deep down)", false},
        {"velsqllib/Connection.cpp", R"(#include "core/modMain.h")", false},
        {"item/frmItem.cpp", R"(#include "controller/frmController.h")", false},
        {"item/frmItem.cpp", R"(#include "velsqllib/RemoteLibrary.h")", false},
        {"item/frmItem.cpp", R"(#include "velsqllib.capnp.h")", false},
        {"mainwindow/frmMDI.cpp", "#include <kj/async-io.h>", false},
        {"item/frmItem.cpp", R"(#include "../perfcheck/frmPerfChk.h")", false},
        {"item/frmItem.ui", R"(<header>history/ResultGrid.h</header>)", false},
        {"item/frmItem.ui", R"(<header location="global">history/ResultGrid.h</header>)", false},
        {"mainwindow/frmMDI.cpp", R"(#include "velsqllib/RemoteLibrary.h")", false},
        {"server/Plant.cpp", R"(#include "core/modMain.h")", false},
        {"scripttool/frmScript.cpp", R"(#include "velsqllib/RemoteLibrary.h")", false},
        {"stray/Stray.cpp", R"(#include "core/modMain.h")", false},
        {"core/modMain.cpp", R"(#include "core/automation/Variant.h")", true},
        {"item/frmItem.h", R"(#include "ui_frmItem.h")", true},
        {"item/frmItem.cpp", R"(#include "perfcheck/frmPerfChk.h")", true},
        {"item/frmItem.ui", R"(<header>core/ListBox.h</header>)", true},
        {"item/frmItem.cpp", "#include <QLineEdit>", true},
        {"controller/frmController.cpp", R"(#include "additem/frmAddItem.h")", true},
        {"velsqllib/Connection.h", "#include <capnp/rpc-twoparty.h>", true},
        {"server/Session.cpp", R"(#include "velsqllib.capnp.h")", true},
        {"scripttool/velsqlscript/main.cpp", R"(#include "velsqllib/RemoteLibrary.h")", true},
        {"app/main.cpp", R"(#include "velsqllib/RemoteLibrary.h")", true},
        {"tests/item/item_test.cpp", R"(#include "server/Plant.h")", true},
    };
    for (const Arrow& arrow : arrows) {
        const std::string text = std::string("#pragma once\n") + arrow.Line + '\n';
        EXPECT_EQ(ComplaintsAbout(arrow.File, text).empty(), arrow.Allowed) << arrow.File << ": " << arrow.Line;
    }
}
