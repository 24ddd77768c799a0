#include "desktop/LoginItem.h"

#include "desktop/Service.h"
#include "store/Log.h"
#include "store/TestRoot.h"
#include "support/TestTree.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace {

class LoginItemTest : public testing::Test {
  protected:
    LoginItemTest() {
        tree.dir("system/autostart");
        for (const auto &[variable, folder] :
             {std::pair("HOME", "home"), {"XDG_CONFIG_HOME", "config"}, {"XDG_CONFIG_DIRS", "system"}})
            qputenv(variable, QByteArray::fromStdString(tree.top() / folder));
    }
    static std::string set(bool enabled) { return LoginItem::set(enabled).value_or(QString()).toStdString(); }
    void put(const std::string &folder, const std::string &keys) {
        tree.file(folder + "/autostart/org.tarnwick.Basic.desktop",
                  "[Desktop Entry]\n" + keys + "\n[Other]\nHidden=x\n");
    }

    TestTree tree;
    const std::string own = "config/autostart/org.tarnwick.Basic.desktop";
    const QCoreApplication app{argumentCount, nullptr};
};

TEST_F(LoginItemTest, SwitchingItOnAndOffWritesAndRemovesTheEntry) {
    EXPECT_FALSE(LoginItem::isEnabled());
    EXPECT_EQ(set(false), "");
    EXPECT_EQ(set(true), "");
    EXPECT_TRUE(LoginItem::isEnabled());
    const std::string program = QCoreApplication::applicationFilePath().toStdString();
    EXPECT_NE(tree.read(own).find("\nTryExec=" + program + "\nExec=\"" + program + "\" --login\n"), std::string::npos);
    tree.file(own, tree.read(own) + "X-User=1\n");
    EXPECT_EQ(set(true), "");
    EXPECT_NE(tree.read(own).find("X-User"), std::string::npos) << "what is switched on is not written again";
    tree.dir("root");
    TestRoot::set(TestRoot::prepare(tree / "root"));
    EXPECT_EQ(set(false), "");
    EXPECT_TRUE(fs::exists(tree / own)) << "a test root leaves it alone";
    TestRoot::set(std::nullopt);
    EXPECT_EQ(set(false), "");
    EXPECT_FALSE(fs::exists(tree / own));
    TestRoot::set(TestRoot::prepare(tree / "root"));
    EXPECT_EQ(set(true), "");
    EXPECT_FALSE(fs::exists(tree / own));
    TestRoot::set(std::nullopt);
    // What stands in the way stays.
    fs::remove_all(tree / "config/autostart");
    tree.file("config/autostart", "in the way");
    EXPECT_TRUE(set(true).starts_with("Couldn't change the login item: ")) << set(true);
    Log::shared().flush(std::chrono::seconds(5));
    EXPECT_NE(tree.read("home/.local/state/Tarnwick Basic/Tarnwick Basic.log").find("Login item change failed: "),
              std::string::npos);
    EXPECT_EQ(tree.read("config/autostart"), "in the way");
}

TEST_F(LoginItemTest, TheEntryInForceTellsWhetherItIsSwitchedOn) {
    const std::pair<const char *, bool> rows[] = {{"Exec=x", true},
                                                  {"Hidden = true", false},
                                                  {"Hidden=false\nX-GNOME-Autostart-enabled=true", true},
                                                  {"X-GNOME-Autostart-enabled=false", false},
                                                  {"#Hidden=true\nTryExec=sh", true},
                                                  {"TryExec=/gone/tarnwick-basic", false}};
    for (const auto &[keys, isOn] : rows) {
        for (const char *folder : {"config", "system"}) {
            fs::remove(tree / own);
            put(folder, keys);
            EXPECT_EQ(LoginItem::isEnabled(), isOn) << folder << ": " << keys;
        }
        LoginItem::set(true);
        EXPECT_TRUE(LoginItem::isEnabled()) << keys;
    }
    put("config", "Hidden=true");
    put("system", "Exec=x");
    EXPECT_FALSE(LoginItem::isEnabled()) << "the user's own entry counts";
    LoginItem::set(true);
    LoginItem::set(false);
    EXPECT_FALSE(LoginItem::isEnabled()) << "the system's entry is overridden, too";
}

} // namespace
