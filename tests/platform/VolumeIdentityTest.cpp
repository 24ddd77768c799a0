#include "platform/VolumeIdentity.h"

#include "support/LoopMount.h"
#include "support/TestTree.h"

#include <gtest/gtest.h>

namespace {

TEST(VolumeIdentity, IsTheUnescapedNameOfTheLinkToTheDevice) {
    if (const auto reason = LoopMount::whyNot())
        GTEST_SKIP() << *reason;
    const LoopMount drive;
    const LoopMount other;
    MountEntry entry;
    entry.source = drive.device();
    TestTree tree;
    tree.link("links/OTHER", other.device());
    tree.link("links/dangling", "/dev/no-such-device");
    EXPECT_EQ(VolumeIdentity::uuid(entry, tree / "links"), std::nullopt) << "nothing leads to the device";
    tree.link(R"(links/B\xc3\xbccher\x20\x5cx20\x2g\x2)", drive.device());
    EXPECT_EQ(VolumeIdentity::label(entry, tree / "links"), R"(Bücher \x20\x2g\x2)");
    entry.source = "tmpfs";
    EXPECT_EQ(VolumeIdentity::label(entry, tree / "links"), std::nullopt) << "not on a device";
}

} // namespace
