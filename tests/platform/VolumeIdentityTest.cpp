#include "platform/VolumeIdentity.h"

#include "base/FileDescriptor.h"
#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

constexpr const char *device = "/dev/loop0";
constexpr const char *otherDevice = "/dev/loop1";

bool isBlockDevice(const char *path) {
    struct stat facts = {};
    return ::stat(path, &facts) == 0 && S_ISBLK(facts.st_mode);
}

MountEntry mountedFrom(const std::string &source) {
    MountEntry entry;
    entry.source = source;
    return entry;
}

class VolumeLinks : public testing::Test {
  protected:
    void SetUp() override {
        if (!isBlockDevice(device) || !isBlockDevice(otherDevice))
            GTEST_SKIP() << "there are no loop devices to link to";
    }

    TestTree tree;
};

struct NameRow {
    const char *situation;
    const char *link;
    const char *name;
};

class VolumeLinkName : public VolumeLinks, public testing::WithParamInterface<NameRow> {};

TEST_P(VolumeLinkName, IsUnescaped) {
    tree.link("links/other", otherDevice);
    tree.link(std::string("links/") + GetParam().link, device);
    EXPECT_EQ(VolumeIdentity::uuid(mountedFrom(device), tree / "links"), GetParam().name);
    EXPECT_EQ(VolumeIdentity::label(mountedFrom(device), tree / "links"), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Names, VolumeLinkName,
                         testing::Values(NameRow{"Plain", "5A1F-33C0", "5A1F-33C0"},
                                         NameRow{"Blank", R"(My\x20Disk)", "My Disk"},
                                         NameRow{"SlashAndCapitalDigits", R"(a\x2Fb\x2f)", "a/b/"},
                                         NameRow{"BackslashBeforeDigits", R"(\x5cx20)", R"(\x20)"},
                                         NameRow{"BytesOfUtf8", R"(B\xc3\xbccher)", "Bücher"},
                                         NameRow{"CutShort", R"(a\x2)", R"(a\x2)"},
                                         NameRow{"NoHexDigit", R"(\x2g\X20\y20)", R"(\x2g\X20\y20)"}),
                         [](const auto &row) { return std::string(row.param.situation); });

TEST_F(VolumeLinks, NothingLeadsToTheDevice) {
    tree.link("links/other", otherDevice);
    tree.link("links/dangling", "/dev/tarnwick-no-such-device");
    tree.file("links/file");
    tree.link("links/file-link", tree / "links/file");
    EXPECT_EQ(VolumeIdentity::uuid(mountedFrom(device), tree / "links"), std::nullopt);
    EXPECT_EQ(VolumeIdentity::uuid(mountedFrom(device), tree / "no-such-folder"), std::nullopt);
}

TEST_F(VolumeLinks, OnlyAMountOfADeviceHasAnIdentity) {
    tree.file("file");
    tree.link("links/LABEL", device);
    for (const std::string &source : {std::string("tmpfs"), std::string("dev/loop0"), std::string(),
                                      (tree / "file").native(), std::string("/dev/null")})
        EXPECT_EQ(VolumeIdentity::label(mountedFrom(source), tree / "links"), std::nullopt) << source;
}

TEST_F(VolumeLinks, ADeviceUnderAnotherNameIsTheSameDevice) {
    tree.link("links/LABEL", device);
    tree.link("mapper", device);
    EXPECT_EQ(VolumeIdentity::label(mountedFrom(tree / "mapper"), tree / "links"), "LABEL");
}

TEST(DeviceExists, AskedFromSysfs) {
    EXPECT_TRUE(VolumeIdentity::deviceExists(makedev(0, 45))) << "a file system without a device";
    EXPECT_FALSE(VolumeIdentity::deviceExists(makedev(8, 1048575))) << "no such disk";
    EXPECT_FALSE(VolumeIdentity::deviceExists(makedev(7, 1048575))) << "no such loop device";
}

/// A loop device of its own, numbered so high that nobody else is handed it.
class OwnLoopDevice {
  public:
    OwnLoopDevice() : control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC)) {
        number = ::ioctl(control.get(), LOOP_CTL_ADD, 1000 + ::getpid() % 100'000);
    }
    ~OwnLoopDevice() { ::ioctl(control.get(), LOOP_CTL_REMOVE, number); }

    bool attach(const FileDescriptor &file) { return ::ioctl(open().get(), LOOP_SET_FD, file.get()) == 0; }
    /// It is really detached once everybody (udev, say) has closed it.
    bool detach() { return ::ioctl(open().get(), LOOP_CLR_FD, 0) == 0; }
    dev_t id() const { return makedev(7, static_cast<unsigned>(number)); }

  private:
    FileDescriptor open() const {
        return FileDescriptor(::open(("/dev/loop" + std::to_string(number)).c_str(), O_RDWR | O_CLOEXEC));
    }

    FileDescriptor control;
    int number = -1;
};

TEST(DeviceExists, ALoopDeviceIsGoneWithItsBackingFile) {
    if (const auto reason = LoopMount::whyNot())
        GTEST_SKIP() << *reason;
    TestTree tree;
    tree.sparseFile("image", 1024 * 1024);
    const FileDescriptor image(::open((tree / "image").c_str(), O_RDWR | O_CLOEXEC));
    OwnLoopDevice loop;
    EXPECT_FALSE(VolumeIdentity::deviceExists(loop.id())) << "never attached";
    ASSERT_TRUE(loop.attach(image));
    EXPECT_TRUE(VolumeIdentity::deviceExists(loop.id()));
    ASSERT_TRUE(loop.detach());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (VolumeIdentity::deviceExists(loop.id()) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_FALSE(VolumeIdentity::deviceExists(loop.id())) << "detached";
}

} // namespace
