#include "base/Text.h"
#include "store/Locations.h"
#include "store/OneDriveClients.h"
#include "store/TestRoot.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using State = Locations::OneDriveInUse::State;

TEST(OneDriveClients, ReadTheSyncDirAsTheClientDoes) {
    const std::pair<std::string, std::string> rows[] = {{"sync_dir = \"~/Clouds/OneDrive\"\n", "~/Clouds/OneDrive"},
                                                        {"\r\n\tsync_dir=\"/a b\"\r", "/a b"},
                                                        {"sync_dir = \"/a\"\nsync_dir = \"/b\"\n", "/b"},
                                                        {R"(sync_dir = "/a" # "c")", "/a\" # \"c"},
                                                        {R"(sync_dir = "/a\"b")", "/a\\\"b"}};
    for (const auto &[config, expected] : rows)
        EXPECT_EQ(OneDriveClients::syncDir(config), expected);
    for (const char *config : {"# sync_dir = \"/a\"\n", "sync_dirs = \"/a\"\nno_sync_dir = \"/b\"", "sync_dir = /a\n",
                               "sync_dir = \"\"\n", "sync_dir = \""})
        EXPECT_EQ(OneDriveClients::syncDir(config), std::nullopt) << config;
}

TEST(OneDriveClients, TellARemoteOfOneDriveFromOneOnTopOfIt) {
    const std::string config = "\xEF\xBB\xBF[od]\ntype = onedrive\n; type = drive\ntoken = {\"type\" : \"x\"}\n\n"
                               "[ my od ]\r\n  type:onedrive\r\n[alias]\ntype = alias\nremote = od:\n"
                               "[crypt]\ntype = crypt\n[twice]\ntype = drive\n[OD]\ntype = drive\n"
                               "[quoted]\ntype = \"onedrive\"\n[twice]\ntype = onedrive\n[last]\nTYPE = onedrive";
    const std::pair<const char *, bool> rows[] = {
        {"od", true},      {"my od", true}, {"twice", true}, {"alias", false}, {"crypt", false},
        {"quoted", false}, {"OD", false},   {"last", false}, {"", false},      {"none", false}};
    for (const auto &[remote, isOneDrive] : rows)
        EXPECT_EQ(OneDriveClients::hasOneDriveRemote(config, remote), isOneDrive) << remote;
}

TEST(OneDriveClients, FindTheRemoteInTheSourceOfAMount) {
    using Remote = OneDriveClients::Remote;
    const std::pair<const char *, Remote> rows[] = {
        {"od:", {"od", ""}},           {"my od:Photos/a:b", {"my od", ""}},
        {"od{ij3Cc}:sub", {"od", ""}}, {":onedrive{uUm2D}:sub", {"", "onedrive"}},
        {":webdav:", {"", "webdav"}},  {"/some/path:x", {"", ""}},
        {"devname", {"", ""}}};
    for (const auto &[source, remote] : rows)
        EXPECT_EQ(OneDriveClients::remoteOf(source), remote) << source;
}

/// The home folder of this process is a tree, outside every test root.
class OneDriveFolders : public testing::Test {
  protected:
    OneDriveFolders() {
        TestRoot::set(std::nullopt);
        ::setenv("HOME", tree.top().c_str(), 1);
        ::unsetenv("XDG_CONFIG_HOME");
    }

    /// The folders found, relative to the home folder, with what they are.
    std::vector<std::string> found() const {
        std::vector<std::string> lines;
        for (const Locations::OneDriveFolder &folder : Locations::oneDriveFolders())
            lines.push_back(folder.url.lexically_relative(tree.top()).native() +
                            (folder.what.isEmpty() ? "" : " = " + Text::toBytes(folder.what)));
        return lines;
    }

    using Lines = std::vector<std::string>;
    TestTree tree;
};

TEST_F(OneDriveFolders, OfClientsAndBehindLinksComeAfterThoseFoundByName) {
    for (const char *folder : {"OneDrive-B", "Library/CloudStorage/OneDrive-C", "data/linked", "data/synced",
                               "data/second", "data/other", "data/named"})
        tree.dir(folder);
    tree.link("OneDrive-A", "data/linked");
    tree.link("OneDrive-again", "OneDrive-B");
    tree.link("OneDrive-home", ".");
    tree.link("OneDrive-nowhere", "none");
    tree.file(".config/onedrive/config", "sync_dir = \"~/data/synced\"");
    tree.file(".config/onedrive-work/config", "sync_dir = \"" + (tree / "data/second").native() + "\"");
    tree.file(".config/signed-in/config", "sync_dir = \"~/OneDrive-again\"");
    tree.file(".config/signed-in/refresh_token");
    tree.file(".config/other/config", "sync_dir = \"~/data/other\"");
    tree.file(".config/onedrive-relative/config", "sync_dir = \"data/named\"");
    tree.file(".config/onedrive-above/config", "sync_dir = \"" + tree.top().parent_path().native() + "\"");
    const std::string client = " = folder of the OneDrive client";
    EXPECT_EQ(found(), (Lines{"OneDrive-B" + client, "Library/CloudStorage/OneDrive-C", "data/linked",
                              "data/synced" + client, "data/second" + client}));
    TestRoot::set(TestRoot::prepare(tree.top()));
    EXPECT_EQ(Locations::oneDriveFolders(), std::vector<Locations::OneDriveFolder>()) << "with a test root";
    TestRoot::set(std::nullopt);
}

TEST_F(OneDriveFolders, OfTheFirstAccountIsTheClientsOwnWithoutASetting) {
    tree.dir("OneDrive");
    for (const auto &[file, what] :
         {std::pair(".config.hash", ""), {"items.sqlite3", " = folder of the OneDrive client"}}) {
        tree.file(std::string(".config/onedrive/") + file);
        EXPECT_EQ(found(), Lines{std::string("OneDrive") + what}) << file;
    }
}

TEST_F(OneDriveFolders, AnUnusableStoredPathIsNoFolder) {
    tree.dir("OneDrive");
    tree.dir("mine");
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"mine", "mine", ""}, {"x/../mine//.", "mine", ""}, {"~/mine", "mine", ""},
        {"", "OneDrive", ""}, {"none", "OneDrive", "none"}, {std::string("mine\0x", 6), "OneDrive", "mine\uFFFDx"}};
    for (const auto &[chosen, used, gone] : rows) {
        const auto inUse =
            Locations::oneDriveInUse(Text::fromBytes(chosen), std::nullopt, Locations::oneDriveFolders());
        EXPECT_EQ(inUse.root, tree / used) << chosen;
        EXPECT_EQ(inUse.goneChoice.value_or("").filename(), gone) << chosen;
    }
}

TEST_F(OneDriveFolders, OnAMountOfTheirOwnAreThereWhileItIs) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    for (const char *folder : {"OneDrive", "OneDrive-Other", "disk/cloud"})
        tree.dir(folder);
    tree.link("OneDrive-link", "disk/cloud");
    const auto text = [&](const char *relative) { return QString::fromStdString(tree / relative); };
    const auto stateOf = [&](const std::optional<QString> &chosen, const char *kept) {
        const auto inUse = Locations::oneDriveInUse(chosen, text(kept), Locations::oneDriveFolders());
        const std::string root = inUse.root ? inUse.root->lexically_relative(tree.top()).native() : "";
        const std::string gone = inUse.goneChoice ? " instead of " + inUse.goneChoice->filename().native() : "";
        return inUse.state == State::NotMounted ? "not mounted" : root + (inUse.mountPoint ? ", mounted" : "") + gone;
    };
    EXPECT_EQ(stateOf(std::nullopt, "OneDrive"), "not mounted") << "never the other account's folder";
    EXPECT_EQ(stateOf(text("OneDrive"), "OneDrive"), "not mounted");
    EXPECT_EQ(stateOf(text("disk/cloud"), "disk"), "not mounted");
    EXPECT_EQ(stateOf(text("OneDrive-link"), "disk"), "not mounted");
    EXPECT_EQ(stateOf(text("gone"), "disk"), "not mounted");
    EXPECT_EQ(stateOf(text("OneDrive-Other"), "disk"), "OneDrive-Other") << "what is remembered is another folder's";
    EXPECT_EQ(Locations::mountPointToKeep(tree / "OneDrive"), std::nullopt);
    {
        const Mount mount("tmpfs", tree / "OneDrive", "tmpfs");
        EXPECT_EQ(stateOf(std::nullopt, "OneDrive"), "OneDrive, mounted");
        EXPECT_EQ(stateOf(text("OneDrive"), "OneDrive"), "OneDrive, mounted");
        EXPECT_EQ(stateOf(text("gone"), "OneDrive"), "OneDrive, mounted instead of gone");
        EXPECT_EQ(Locations::mountPointToKeep(tree / "OneDrive"), tree / "OneDrive");
        const Mount inner("tmpfs", tree / "OneDrive", "tmpfs");
        EXPECT_EQ(stateOf(text("OneDrive"), "OneDrive"), "OneDrive, mounted") << "twice over the other";
    }
    const Mount disk("tmpfs", tree / "disk", "tmpfs");
    EXPECT_EQ(stateOf(text("disk/cloud"), "disk"), "OneDrive instead of cloud") << "missing on its present mount";
    tree.dir("disk/cloud");
    EXPECT_EQ(stateOf(text("disk/cloud"), "disk"), "disk/cloud, mounted");
    EXPECT_EQ(Locations::mountPointToKeep(tree / "OneDrive-link"), tree / "disk");
    const Mount over("tmpfs", tree.top(), "tmpfs");
    fs::create_directories(tree / "disk/cloud");
    EXPECT_EQ(stateOf(text("disk/cloud"), "disk"), "not mounted") << "covered by another mount";
}

} // namespace
