#include "desktop/DriveEvents.h"
#include "desktop/Service.h"
#include "model/AppModel.h"
#include "store/Log.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLockFile>

#include <gtest/gtest.h>
#include <sched.h>

#include <sys/mount.h>

namespace {

constexpr const char *profile = R"({"app": "Tarnwick Basic", "machine": "0123456789abcdef", "savedBy": "Old Mac",
    "savedAt": "2026-01-02T03:04:05Z", "version": 1,
    "pairs": [{"sourceRelPath": "Bilder", "backupRelPath": "Bilder", "enabled": true}]})";

/// An image file that is plugged in as a drive, with the profile of an earlier installation on it.
struct Drive {
    explicit Drive(TestTree &tree) {
        tree.file("drive/.Tarnwick/profile-basic.json", profile);
        tree.file("drive/Bilder/Grüße.txt", "Hallo");
        tree.file("drive/Film.mov", std::string(192 << 20, 'x')); // holes would be copied in no time
        device =
            shell("cd " + tree.top().native() + "; mkfs.ext4 -L 'Fotos März' -U " + uuid.toStdString() +
                  " -d drive image 256M >&2; udisksctl loop-setup -f image | grep -o '/dev/loop[0-9]*' | tr -d '\\n'");
    }
    ~Drive() {
        udisks("unmount");
        EXPECT_EQ(udisks("loop-delete"), "");
    }

    /// What udisksctl complains about.
    std::string udisks(const std::string &verb) const {
        return shell("udisksctl " + verb + " -b " + device + " 2>&1 >/dev/null");
    }

    const QString uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    std::string device;
};

/// The log without times and ends of runs; an eject that has to be tried again is told once.
std::string log() {
    Log::shared().flush(std::chrono::seconds(5));
    return shell("cut -c22- '" + Log::shared().url().native() + "' | grep -v '^Sync finished' | uniq");
}

/// One test to a process, which leaves the machine's own drives and buses behind.
TEST(RealDrive, IsBackedUpAndLetGo) {
    const std::optional<std::string> reason = LoopMount::whyNot();
    if (reason || !fs::exists("/usr/libexec/udisks2/udisksd"))
        GTEST_SKIP() << reason.value_or("udisks2 is not installed");
    QLockFile turn(QStringLiteral("/tmp/tarnwick-test-drive.lock")); // of those that start and stop udev
    turn.setStaleLockTime(0);
    ASSERT_TRUE(turn.tryLock(100'000));
    ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    for (const char *folder : {"/media", "/mnt", "/run/dbus", "/run/udisks2"}) {
        fs::create_directories(folder);
        ASSERT_EQ(::mount("tmpfs", folder, "tmpfs", 0, nullptr), 0);
    }
    TestTree tree;
    const LoopMount home({.size = 2LL << 30, .below = tree.top(), .mountOptions = "sync"}); // makes a copy last
    TestTree oneDrive(home.top() / "HOME/Library/CloudStorage/OneDrive-Test");
    oneDrive.dir("");
    ::clearenv();
    qputenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin");
    qputenv("LC_ALL", "C.UTF-8");
    for (const char *name : {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
        qputenv(name, QByteArray::fromStdString(home.top() / name));
    const QCoreApplication app(argumentCount, nullptr);
    const Service bus("dbus-daemon --system --nofork --nopidfile", onBus + "org.freedesktop.DBus");
    const Service udev("/lib/systemd/systemd-udevd", "udevadm control --ping");
    const Service udisks("/usr/libexec/udisks2/udisksd", onBus + "org.freedesktop.UDisks2");
    const Drive drive(tree);
    AppModel model;
    const DriveEvents events;
    QObject::connect(&events, &DriveEvents::mounted, &model, &AppModel::volumeMounted);
    QObject::connect(&events, &DriveEvents::willUnmount, &model, &AppModel::volumeWillUnmount);
    QObject::connect(&events, &DriveEvents::unmounted, &model, &AppModel::volumeUnmounted);

    const std::string top = "/media/root/Fotos März";

    // When it comes, its folder choices are brought back, and it is backed up by itself.
    QElapsedTimer clock;
    clock.start();
    ASSERT_EQ(drive.udisks("mount"), "");
    ASSERT_TRUE(until([&] { return model.config().pairs.size() == 1; })) << log();
    EXPECT_EQ(model.config().pairs.front().volumeUUID, drive.uuid);
    EXPECT_EQ(model.banner(), QStringLiteral("Brought back your folder choices for “Fotos März”. Check them below."));
    ASSERT_TRUE(until([&] { return model.history().size() == 1; })) << log();
    EXPECT_GE(clock.elapsed(), 6000);
    const std::map<std::string, std::string> backup = {{"Bilder", "dir"}, {"Bilder/Grüße.txt", "1600000000.0 Hallo"}};
    EXPECT_EQ(oneDrive.snapshot(), backup);

    // Idle, nothing holds it, and its profile is as it was.
    EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(5)));
    EXPECT_EQ(TestTree(top).read(".Tarnwick/profile-basic.json"), profile);
    EXPECT_EQ(shell("readlink /proc/$PPID/cwd /proc/$PPID/fd/* | grep -F '" + top + "'"), "");
    EXPECT_EQ(drive.udisks("unmount"), "");
    ASSERT_TRUE(until([&] { return model.volumes().empty(); })) << log();

    // It comes again and is ejected in the middle of a large file.
    ASSERT_EQ(drive.udisks("mount"), "");
    ASSERT_TRUE(until([&] { return !model.volumes().empty(); })) << log();
    fs::rename(top + "/Film.mov", top + "/Bilder/Film.mov");
    model.sync(std::nullopt, SyncTrigger::manual);
    ASSERT_TRUE(until([&] { return model.progress().bytesDone > 0; })) << log();
    std::string complaint = "not tried";
    for (clock.start(); !complaint.empty() && clock.elapsed() < 1000;)
        complaint = drive.udisks("unmount");
    EXPECT_EQ(complaint, "");
    ASSERT_TRUE(until([&] { return model.volumes().empty() && model.history().size() == 2; })) << log();
    ASSERT_FALSE(fs::exists(oneDrive / "Bilder/Film.mov"));
    EXPECT_EQ(oneDrive.snapshot(), backup);
    EXPECT_EQ(model.history().front().headline().toStdString(), "Sync cancelled after 0 files");
    EXPECT_EQ(log(),
              "Drive connected: Fotos März\nRestored 1 folder pair(s) from this Mac's own profile on Fotos März\n"
              "Sync started (driveConnected): Bilder\nDrive disconnected: Fotos März\n"
              "Drive connected: Fotos März\nSync started (manual): Bilder\n"
              "Drive is being ejected during a sync; stopping safely.\nDrive disconnected: Fotos März\n");
}

} // namespace
