#include "store/Store.h"

#include "store/StoreUnderTest.h"
#include "support/LoopMount.h"

using StoreTest = StoreUnderTest;

TEST_F(StoreTest, NothingIsSavedOverWhatCouldNotBeReadBeforeItIsSetAside) {
    const std::string noList = R"({"notifications" : false, "pairs" : [{}, {"enabled" : 1}]})";
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"nothing", "", ""},
        {"no key", "{}", ""},
        {"no JSON", "{", "not JSON at byte 1: expected a key"},
        {"a malformed list", noList, "pairs[1].enabled: expected true or false"},
        {"no JSON, and the name is taken", "{", "not JSON at byte 1: expected a key"},
        {"a folder", "folder/", "Is a directory"},
        {"a folder, and the name is taken", "folder/", "Is a directory"}};
    for (const auto &[situation, content, trouble] : rows) {
        SCOPED_TRACE(situation);
        fs::remove_all(tree / "Support");
        tree.dir(content == "folder/" ? "Support/config.json/inside" : "Support");
        if (content != "folder/" && !content.empty())
            tree.file("Support/config.json", content);
        const bool isTaken = std::string(situation).ends_with("taken");
        for (std::time_t second = std::time(nullptr), end = second + 60; isTaken && second < end; ++second)
            tree.file("Support/config-unreadable-" + std::to_string(second) + ".json", "older");
        Snapshot before = tree.snapshot("Support");
        const AppConfig expected{.notifications = content != noList}, other{.schema = 2};
        EXPECT_EQ(Store::peekConfig(), expected);
        EXPECT_EQ(tree.snapshot("Support"), before) << "who only looks";
        EXPECT_EQ(Store::loadConfig(), expected);
        EXPECT_EQ(Store::save(other), std::nullopt);
        EXPECT_EQ(Store::loadConfig(), other);

        std::erase_if(before, [](const auto &item) { return item.first.starts_with("config.json"); });
        Snapshot now = tree.snapshot("Support");
        now.erase("config.json");
        const Lines lines = logged();
        if (trouble.empty()) {
            EXPECT_EQ(lines, Lines());
        } else {
            ASSERT_FALSE(lines.empty());
            const std::string copy = lines.back().substr(lines.back().rfind(' ') + 1);
            EXPECT_EQ(lines.back(), "Config could not be read (" + trouble + "); saved a copy to " + copy);
            EXPECT_EQ(content == "folder/" ? now.at(copy + "/inside") : tree.read("Support/" + copy),
                      content == "folder/" ? "dir" : content);
            std::erase_if(now, [&](const auto &item) { return item.first.starts_with(copy); });
        }
        EXPECT_EQ(now, before) << "older copies";
    }
    tree.file("Support/history.json", "{}");
    EXPECT_EQ(Store::loadHistory(), std::vector<SyncRun>());
}

TEST_F(StoreTest, ASaveReplacesTheFileAsAWholeWithItsPermissionsAndNoLink) {
    tree.file("elsewhere/config.json", R"({"notifications": false})");
    tree.link("Support/config.json", "../elsewhere/config.json");
    fs::create_hard_link(tree / "elsewhere/config.json", tree / "old");
    fs::permissions(tree / "old", fs::perms(0664));
    tree.link("elsewhere/.config.json.tmp", "../victim"); // where a killed process may have left its new file
    AppConfig config = Store::loadConfig();
    config.autoSyncOnConnect = config.notifications;
    EXPECT_EQ(Store::save(config), std::nullopt);
    EXPECT_EQ(Store::loadConfig(), (AppConfig{.autoSyncOnConnect = false, .notifications = false}));
    EXPECT_EQ(modeOf("elsewhere/config.json"), fs::perms(0664));
    EXPECT_TRUE(fs::is_symlink(tree / "Support/config.json"));
    EXPECT_EQ(tree.snapshot("elsewhere").size(), 1u);
    EXPECT_FALSE(fs::exists(tree / "victim"));
    EXPECT_EQ(tree.read("old"), R"({"notifications": false})");
}

TEST_F(StoreTest, WhatIsMadeIsTheUsersAlone) {
    fs::remove_all(tree / "Support");
    ::setenv("TARNWICK_SUPPORT_DIR", (tree / "Support/made/here").c_str(), 1);
    EXPECT_EQ(Store::save(AppConfig()), std::nullopt);
    Store::save(std::vector<SyncRun>(1));
    ::unsetenv("TARNWICK_SUPPORT_DIR");
    Log log(tree / "Support/log/file");
    log.write(QStringLiteral("entry"));
    EXPECT_TRUE(log.flush(std::chrono::seconds(10)));
    for (const char *made : {"", "/made", "/made/here", "/log"})
        EXPECT_EQ(modeOf(std::string("Support") + made), fs::perms(0700)) << made;
    for (const char *made : {"made/here/config.json", "made/here/history.json", "log/file"})
        EXPECT_EQ(modeOf(std::string("Support/") + made), fs::perms(0600)) << made;
}

TEST_F(StoreTest, OnAFullDriveTheOldFilesStayAndNothingElse) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const LoopMount drive({.type = LoopMount::Type::Tmpfs, .size = 64 * 1024});
    ::setenv("TARNWICK_SUPPORT_DIR", drive.top().c_str(), 1);
    TestTree settings(drive.top());
    settings.file("config.json", "{}");
    Store::save(std::vector<SyncRun>(1));
    Snapshot before = settings.snapshot();
    Store::save(std::vector<SyncRun>(1000));
    const std::optional<QString> full = Store::save(AppConfig{.oneDriveRootPath = QString(100'000, u'x')});
    EXPECT_EQ(full, QStringLiteral("write: No space left on device"));
    EXPECT_EQ(logged(), Lines{"Could not save settings: write: No space left on device"});
    EXPECT_EQ(settings.snapshot(), before);

    settings.file("config.json", std::string(40'000, '{')); // too large for a copy beside it
    EXPECT_EQ(Store::loadConfig(), AppConfig());
    EXPECT_EQ(logged(), Lines());
    EXPECT_EQ(Store::save(AppConfig()), std::nullopt);
    EXPECT_EQ(logged().size(), 1u);
    EXPECT_EQ(settings.snapshot().size(), 3u);
    ::unsetenv("TARNWICK_SUPPORT_DIR");
}
