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
        const auto point = [&](const char *variable, const char *folder) {
            qputenv(variable, QByteArray::fromStdString(tree.top() / folder));
        };
        point("HOME", "home");
        point("XDG_CONFIG_HOME", "config");
        point("XDG_CONFIG_DIRS", "system");
    }
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
    EXPECT_EQ(LoginItem::set(false), std::nullopt);
    EXPECT_EQ(LoginItem::set(true), std::nullopt);
    EXPECT_TRUE(LoginItem::isEnabled());
    const std::string program = QCoreApplication::applicationFilePath().toStdString();
    EXPECT_NE(tree.read(own).find("\nTryExec=" + program + "\nExec=\"" + program + "\" --login\n"), std::string::npos);
    tree.file(own, tree.read(own) + "X-User=1\n");
    EXPECT_EQ(LoginItem::set(true), std::nullopt);
    EXPECT_NE(tree.read(own).find("X-User"), std::string::npos) << "what is switched on is not written again";
    EXPECT_EQ(LoginItem::set(false), std::nullopt);
    EXPECT_FALSE(fs::exists(tree / own));
}

TEST_F(LoginItemTest, TheEntryInForceTellsWhetherItIsSwitchedOn) {
    const struct {
        const char *keys;
        bool isOn;
    } rows[] = {{"Exec=x", true},
                {"Hidden = true", false},
                {"Hidden=false\nX-GNOME-Autostart-enabled=true", true},
                {"X-GNOME-Autostart-enabled=false", false},
                {"#Hidden=true\nTryExec=sh", true},
                {"TryExec=/gone/tarnwick-basic", false}};
    for (const auto &row : rows) {
        for (const char *folder : {"config", "system"}) {
            fs::remove(tree / own);
            put(folder, row.keys);
            EXPECT_EQ(LoginItem::isEnabled(), row.isOn) << folder << ": " << row.keys;
        }
        LoginItem::set(true);
        EXPECT_TRUE(LoginItem::isEnabled()) << row.keys;
    }
    put("config", "Hidden=true");
    put("system", "Exec=x");
    EXPECT_FALSE(LoginItem::isEnabled()) << "the user's own entry counts";
    LoginItem::set(true);
    LoginItem::set(false);
    EXPECT_FALSE(LoginItem::isEnabled()) << "the system's entry is overridden, too";
}

TEST_F(LoginItemTest, AFailureIsToldAndLogged) {
    tree.file("config/autostart", "in the way");
    const QString message = LoginItem::set(true).value_or(QString());
    EXPECT_TRUE(message.startsWith(QStringLiteral("Couldn't change the login item: "))) << message.toStdString();
    Log::shared().flush(std::chrono::seconds(5));
    EXPECT_NE(tree.read("home/.local/state/Tarnwick Basic/Tarnwick Basic.log").find("Login item change failed: "),
              std::string::npos);
    EXPECT_EQ(tree.read("config/autostart"), "in the way");
}

TEST_F(LoginItemTest, WithATestRootNothingIsDone) {
    tree.dir("root");
    TestRoot::set(TestRoot::prepare(tree / "root"));
    EXPECT_EQ(LoginItem::set(true), std::nullopt);
    EXPECT_FALSE(fs::exists(tree / own));
    put("config", "Exec=x");
    EXPECT_EQ(LoginItem::set(false), std::nullopt);
    EXPECT_TRUE(fs::exists(tree / own));
}

} // namespace
