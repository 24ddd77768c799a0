#include "app/ProgramTest.h"

#include <algorithm>

namespace {

class BackupOutput : public ProgramTest {
  protected:
    /// Something of everything that a run can tell.
    void SetUp() override {
        tree.file("Photos/a.jpg", "new");
        tree.file("Photos/b.jpg", "changed", later(someTime, 100));
        tree.file("OneDrive/Photos/B.JPG", "old");
        tree.file("Photos/sub/c.jpg", "12345");
        tree.file("Photos/left.jpg", "older");
        tree.file("OneDrive/Photos/left.jpg", "newer one", later(someTime, 100));
        tree.file("OneDrive/Photos/only there.jpg");
        tree.file("OneDrive/Photos/.tw-12345678-123.twtmp");
        tree.file("Photos/what?.jpg");
        tree.file("Photos/run.bat");
        tree.file("Photos/clash");
        tree.dir("OneDrive/Photos/clash");
        tree.link("OneDrive/Photos/blocked.jpg", "nowhere");
        tree.file("Photos/blocked.jpg");
    }
};

TEST_F(BackupOutput, TextIsTheHeadlineThenALineForEverything) {
    const Program::Outcome outcome = backUp().run();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    std::string out = outcome.out;
    const std::string type = "Photos/run.bat — skipped: OneDrive doesn't accept .bat files\n";
    const std::size_t at = out.find(type); // before or after the other one, as the disk lists them
    ASSERT_NE(at, std::string::npos) << out;
    out.erase(at, type.size());
    EXPECT_EQ(out,
              "3 files copied (15 bytes) · 2 skipped · 1 problem\n"
              "Photos/blocked.jpg: something that is neither a file nor a folder is in the way in OneDrive\n"
              "Photos/clash — a folder with the same name is already in the backup\n"
              "Photos/left.jpg — the copy in OneDrive is newer, so it was left alone\n"
              "Photos/what?.jpg — skipped: OneDrive would need the name “what_.jpg”\n"
              "Photos: 1 item was skipped because OneDrive can't store its name (invisible characters, a space at the "
              "end, or \" * : < > ? \\ |). Rename it on your drive to back it up.\n"
              "Photos: 1 file was skipped because OneDrive doesn't accept that type (.bat).\n");
    EXPECT_EQ(tree.read("OneDrive/Photos/B.JPG"), "changed");
    EXPECT_EQ(tree.read("OneDrive/Photos/left.jpg"), "newer one");
    EXPECT_TRUE(fs::exists(tree / "OneDrive/Photos/only there.jpg"));
    EXPECT_EQ(leftovers(), Lines());
}

TEST_F(ProgramTest, TheFirstTwentySkippedItemsAreNamedAndTheOthersCounted) {
    for (int count = 1; count <= 21; ++count) {
        tree.file("Photos/" + std::to_string(count) + ".bat");
        const std::string out = count < 20 ? "" : backUp().run().out;
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), count < 20 ? 0 : 2 + count) << out;
        EXPECT_EQ(out.find(".bat files\nand 1 more skipped\nPhotos: 21 files") != std::string::npos, count == 21)
            << out;
    }
}

TEST_F(BackupOutput, ADryRunChangesNothingAndTellsWhatTheRunWillDo) {
    const Untouched everything(tree.top());
    const Program::Outcome dry = backUp({"--dry-run"}).run();
    const std::string json = backUp({"--dry-run", "--json"}).run().out;
    everything.expectUntouched();
    EXPECT_EQ(dry.status, 0) << "what stands in the way is only met by the run itself";
    EXPECT_TRUE(json.starts_with("{\n  \"conflicts\" : [\n    \"clash")) << json;
    EXPECT_TRUE(dry.out.starts_with("4 files would be copied (22 bytes), 1 folder created\n")) << dry.out;

    const Untouched original(tree / "Photos");
    const SyncRun run = recordOf(backUp({"--json"}).run().out);
    original.expectUntouched();
    Lines expected = {"create  " + (tree / "OneDrive/Photos/sub").native(), "add     blocked.jpg"};
    for (const ChangeRecord &change : run.changes)
        expected.push_back((change.kind == ChangeKind::added ? "add     " : "update  ") + change.relPath.toStdString());
    EXPECT_EQ(expected.size(), 5U) << "as many as the headline says";
    for (const std::string &line : expected)
        EXPECT_NE(dry.out.find('\n' + line + '\n'), std::string::npos) << line << " is not in\n" << dry.out;
}

} // namespace
