#include "store/Store.h"

#include "store/StoreUnderTest.h"
#include "support/LoopMount.h"

using StoreTest = StoreUnderTest;

TEST_F(StoreTest, SettingsThatCantBeUnderstoodAreSetAside) {
    EXPECT_TRUE(Store::loadConfig() == AppConfig() && tree.snapshot("Support").empty());
    const std::map<std::string, std::string> rows = {{"{", "not JSON at byte 1: expected a key"}, {"{}", ""}};
    for (const auto &[content, error] : rows) {
        std::time_t second = 0;
        do { // twice within one second
            fs::remove_all(tree / "Support");
            tree.file("Support/config.json", content);
            logged();
            second = std::time(nullptr);
            EXPECT_TRUE(Store::loadConfig() == AppConfig() && Store::loadConfig() == AppConfig());
        } while (std::time(nullptr) != second);
        const std::string copy = "config-unreadable-" + std::to_string(second) + ".json";
        const std::string line = "Config could not be read (" + error + "); saved a copy to " + copy;
        EXPECT_EQ(logged(), Lines(error.empty() ? 0 : 2, line));
        EXPECT_EQ(tree.snapshot("Support").size(), error.empty() ? 1u : 2u) << content;
        for (const fs::directory_entry &file : fs::directory_iterator(tree / "Support"))
            EXPECT_EQ(tree.read(file.path().lexically_relative(tree.top())), content);
    }
    tree.file("Support/history.json", "{}");
    EXPECT_EQ(Store::loadHistory(), std::vector<SyncRun>());
}

TEST_F(StoreTest, ASaveReplacesTheFileAsAWholeAndNoLink) {
    tree.file("elsewhere/config.json", R"({"notifications": false})");
    tree.link("Support/config.json", "../elsewhere/config.json");
    fs::create_hard_link(tree / "elsewhere/config.json", tree / "old");
    tree.link("elsewhere/.config.json.tmp", "../victim"); // where a killed process may have left its new file
    AppConfig config = Store::loadConfig();
    config.autoSyncOnConnect = config.notifications;
    Store::save(config);
    EXPECT_EQ(Store::loadConfig(), (AppConfig{.autoSyncOnConnect = false, .notifications = false}));
    EXPECT_TRUE(fs::is_symlink(tree / "Support/config.json") && !fs::exists(tree / "victim"));
    EXPECT_TRUE(tree.snapshot("elsewhere").size() == 1 && tree.read("old") == R"({"notifications": false})");
}

TEST_F(StoreTest, OnAFullDriveTheOldFilesStayAndNothingElse) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const LoopMount drive({.type = LoopMount::Type::Tmpfs, .size = 64 * 1024});
    ::setenv("TARNWICK_SUPPORT_DIR", drive.top().c_str(), 1);
    Store::save(AppConfig());
    Store::save(std::vector<SyncRun>(1));
    const auto before = TestTree(drive.top()).snapshot();
    Store::save(std::vector<SyncRun>(1000));
    Store::save(AppConfig{.oneDriveRootPath = QString(100'000, u'x')});
    EXPECT_EQ(logged(), Lines{"Could not save settings: write: No space left on device"});
    EXPECT_EQ(TestTree(drive.top()).snapshot(), before);
    ::unsetenv("TARNWICK_SUPPORT_DIR");
}
