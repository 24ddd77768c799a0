#include "sync/Copier.h"

#include "platform/FolderAnchor.h"
#include "platform/Lock.h"
#include "sync/CopyError.h"
#include "sync/PlanUnderTest.h"
#include "sync/RunUnderTest.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

using RunUnderTest::Lines;
using RunUnderTest::Sandbox;

const std::string incomplete =
    "The copy was incomplete (the file may have changed while copying). It will be retried next time.";
constexpr std::int64_t mebibyte = 1024 * 1024;

std::string noise(std::int64_t size) {
    std::string content(static_cast<std::size_t>(size), '\0');
    std::uint32_t state = 1;
    for (char &c : content) {
        state = state * 1'664'525 + 1'013'904'223;
        c = static_cast<char>(state >> 24);
    }
    return content;
}

enum class Where { InArea, Beside };

/// Copies "from/file" to "OneDrive/file", with the temporary copy in the area or beside the target.
class CopyBox : public Sandbox {
  public:
    explicit CopyBox(Where where) : area({top() / "OneDrive"}) {
        dir("from");
        auto opened = std::make_shared<TargetFolder>();
        opened->folder = FileDescriptor(::open((top() / "OneDrive").c_str(), O_RDONLY | O_CLOEXEC));
        opened->volume = &area.volumeOf(opened->folder.get());
        EXPECT_FALSE(opened->volume->isBeside());
        opened->volume->refusesRename = where == Where::Beside;
        target = opened;
    }

    /// Stages and publishes; the failure in words, or "".
    std::string copy(const BytesCallback &onBytes = [](std::int64_t) {}) {
        const FolderAnchor from(top() / "from");
        const struct stat facts = factsOf("from/file");
        const FileVersion original = {
            facts.st_size, {facts.st_mtim.tv_sec, static_cast<std::int32_t>(facts.st_mtim.tv_nsec)}};
        const std::optional<FileVersion> planned = versionThere();
        try {
            Copier copier(token);
            StagedCopy staged = copier.stage({from.descriptor(), "file"}, target, original.mtime, onBytes);
            Copier::publish(staged, target, "file", original, planned ? &*planned : nullptr, {});
        } catch (const std::system_error &error) {
            return "errno " + std::to_string(error.code().value());
        } catch (const std::exception &error) {
            return error.what();
        }
        return "";
    }

    struct stat factsOf(const std::string &relative) const {
        struct stat facts = {};
        ::lstat((top() / relative).c_str(), &facts);
        return facts;
    }

    /// The temporary items that are no part of a living area.
    Lines leftoverCopies() const {
        Lines found = leftovers();
        std::erase_if(found, [](const std::string &name) { return name.find(".tw-") == std::string::npos; });
        return found;
    }

    CancelToken token;
    std::shared_ptr<const TargetFolder> target;

  private:
    std::optional<FileVersion> versionThere() const {
        if (!fs::exists(top() / "OneDrive/file"))
            return std::nullopt;
        return FileVersion{std::ssize(read("OneDrive/file")), time("OneDrive/file")};
    }

    TempArea area;
};

class CopierTest : public testing::TestWithParam<Where> {
  protected:
    CopyBox box{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(, CopierTest, testing::Values(Where::InArea, Where::Beside),
                         [](const auto &row) { return row.param == Where::InArea ? "InArea" : "Beside"; });

TEST_P(CopierTest, ArrivesByteForByteWithItsDate) {
    const std::vector<std::pair<std::string, FileTime>> files = {
        {noise(3 * mebibyte), {1'600'000'000, 123'456'789}},
        {"", {1'600'000'000, 1}},
        {"x", {0, 0}},
        {noise(128 * 1024 - 1), {-1'000'000, 500'000'000}},
        {noise(128 * 1024), {4'000'000'000, 999'999'999}},
        {noise(20 * mebibyte + 1), someTime},
    };
    for (const auto &[content, date] : files) {
        for (const bool isUpdate : {false, true}) {
            fs::remove(box / "OneDrive/file");
            if (isUpdate)
                box.file("OneDrive/file", "old version", {-2'000'000, 0});
            box.file("from/file", content, date);
            const auto before = box.snapshot("from");
            EXPECT_EQ(box.copy(), "") << content.size();
            EXPECT_TRUE(box.snapshot("OneDrive") == before) << content.size() << ", update " << isUpdate;
            EXPECT_TRUE(box.snapshot("from") == before);
            EXPECT_EQ(box.leftoverCopies(), Lines());
        }
    }
}

TEST_P(CopierTest, HolesStayHoles) {
    box.sparseFile("from/file", 1'000 * mebibyte);
    std::fstream(box / "from/file", std::ios::in | std::ios::out | std::ios::binary).seekp(500 * mebibyte)
        << "data";
    box.setTime("from/file", someTime);
    EXPECT_EQ(box.copy(), "");
    EXPECT_EQ(box.factsOf("OneDrive/file").st_size, 1'000 * mebibyte);
    EXPECT_LT(box.factsOf("OneDrive/file").st_blocks * 512, mebibyte);
    std::string found(4, ' ');
    std::ifstream(box / "OneDrive/file", std::ios::binary).seekg(500 * mebibyte).read(found.data(), 4);
    EXPECT_EQ(found, "data");
}

TEST_P(CopierTest, ModeAndAttributesGoAlong) {
    const mode_t umaskBefore = ::umask(077);
    for (const mode_t mode : {0444u, 0400u, 0000u, 0640u, 0666u, 0755u, 06755u}) {
        fs::remove(box / "OneDrive/file");
        box.file("from/file");
        const std::string path = box / "from/file";
        const bool hasAttributes = ::setxattr(path.c_str(), "user.colour", "red", 3, 0) == 0 &&
                                   ::setxattr(path.c_str(), "user.empty", "", 0, 0) == 0;
        ::chmod(path.c_str(), mode);
        if (::access(path.c_str(), R_OK) != 0) { // mode 0 is for root alone
            fs::remove(path);
            continue;
        }
        EXPECT_EQ(box.copy(), "");
        EXPECT_EQ(box.factsOf("OneDrive/file").st_mode & 07777, mode) << std::oct << mode;
        EXPECT_EQ(box.factsOf("from/file").st_mode & 07777, mode);
        EXPECT_EQ(box.time("OneDrive/file"), someTime);
        char value[10];
        const std::string copy = box / "OneDrive/file";
        EXPECT_EQ(::getxattr(copy.c_str(), "user.colour", value, sizeof value), hasAttributes ? 3 : -1);
        EXPECT_EQ(::getxattr(copy.c_str(), "user.empty", value, sizeof value), hasAttributes ? 0 : -1);
        fs::remove(box / "from/file");
    }
    ::umask(umaskBefore);
    EXPECT_EQ(box.leftoverCopies(), Lines());
}

/// What happens to the original while it is copied.
using Change = std::function<void(CopyBox &)>;

void appendTo(const CopyBox &box, const std::string &text) {
    std::ofstream(box / "from/file", std::ios::app | std::ios::binary) << text;
}

TEST_P(CopierTest, AnOriginalThatChangesMeanwhileIsNoCopy) {
    const std::vector<std::pair<std::string, Change>> changes = {
        {"grows", [](CopyBox &tree) { appendTo(tree, "x"); }},
        {"grows and keeps its date",
         [](CopyBox &tree) {
             appendTo(tree, "x");
             tree.setTime("from/file", someTime);
         }},
        {"shrinks", [](CopyBox &tree) { fs::resize_file(tree / "from/file", 2 * mebibyte); }},
        {"is emptied", [](CopyBox &tree) { fs::resize_file(tree / "from/file", 0); }},
        {"is written to at its size",
         [](CopyBox &tree) {
             std::fstream(tree / "from/file", std::ios::in | std::ios::out | std::ios::binary) << "x";
         }},
        {"is replaced by another of its size",
         [](CopyBox &tree) {
             tree.file("from/new", std::string(3 * mebibyte, 'x'), later(someTime, 7));
             fs::rename(tree / "from/new", tree / "from/file");
         }},
        {"goes", [](CopyBox &tree) { fs::remove(tree / "from/file"); }},
    };
    for (const bool isUpdate : {false, true}) {
        for (const bool isSparse : {false, true}) {
            for (const auto &[name, change] : changes) {
                box.file("from/file", noise(3 * mebibyte));
                if (isSparse)
                    box.sparseFile("from/file", 3 * mebibyte);
                if (isUpdate)
                    box.file("OneDrive/file", "old version", later(someTime, -100));
                const auto before = box.snapshot("OneDrive");
                bool isDone = false;
                const std::string failure = box.copy([&](std::int64_t) {
                    if (!std::exchange(isDone, true))
                        change(box);
                });
                EXPECT_TRUE(isDone);
                EXPECT_EQ(failure, incomplete) << name << ", sparse " << isSparse;
                EXPECT_EQ(box.snapshot("OneDrive"), before) << name;
                EXPECT_EQ(box.leftoverCopies(), Lines()) << name;
            }
        }
    }
}

TEST_P(CopierTest, ACancelStopsWithinSixteenMebibytes) {
    const std::int64_t size = 50 * mebibyte;
    box.file("from/file", noise(size));
    box.file("OneDrive/file", "old version", later(someTime, -100));
    const auto before = box.snapshot("OneDrive");
    for (const std::int64_t point :
         {std::int64_t{1}, 9 * mebibyte, 17 * mebibyte, 30 * mebibyte, 40 * mebibyte}) {
        CopyBox again(GetParam());
        fs::rename(box / "from/file", again / "from/file");
        again.file("OneDrive/file", "old version", later(someTime, -100));
        std::int64_t last = 0;
        const std::string failure = again.copy([&](std::int64_t copied) {
            EXPECT_LE(copied, last + 16 * mebibyte);
            EXPECT_FALSE(again.token.isCancelled()) << "told of more after the cancel";
            last = copied;
            if (copied >= point)
                again.token.cancel();
        });
        EXPECT_EQ(failure, "cancelled") << point;
        EXPECT_EQ(again.snapshot("OneDrive"), before);
        EXPECT_EQ(again.leftoverCopies(), Lines());
        fs::rename(again / "from/file", box / "from/file");
    }
}

TEST_P(CopierTest, WhatIsNoFileIsNotCopied) {
    const std::vector<std::pair<std::string, Change>> rows = {
        {"This is no longer a file", [](CopyBox &tree) { tree.dir("from/file"); }},
        {"This is no longer a file",
         [](CopyBox &tree) { ASSERT_EQ(::mkfifo((tree / "from/file").c_str(), 0600), 0); }},
        {"errno " + std::to_string(ELOOP),
         [](CopyBox &tree) {
             tree.file("other");
             tree.link("from/file", "../other");
         }},
        {"errno " + std::to_string(ENOENT), [](CopyBox &) {}},
    };
    for (const auto &[failure, prepare] : rows) {
        prepare(box);
        EXPECT_EQ(box.copy(), failure);
        EXPECT_TRUE(fs::is_empty(box / "OneDrive"));
        EXPECT_EQ(box.leftoverCopies(), Lines());
        fs::remove_all(box / "from/file");
    }
}

TEST(CopierPlaces, AnAreaThatCantBeWrittenToIsLeftForTheTargetsFolder) {
    EXPECT_EQ(PlanUnderTest::asOrdinaryUser([] {
                  CopyBox box(Where::InArea);
                  box.file("from/file", "new version");
                  for (const auto &entry : fs::recursive_directory_iterator(box / "cache")) {
                      if (entry.path().filename() == "0" || entry.path().filename() == "1")
                          fs::permissions(entry.path(), fs::perms(0500));
                  }
                  const std::string failure = box.copy();
                  return failure.empty() && box.leftoverCopies().empty() ? box.read("OneDrive/file")
                                                                         : "failed " + failure;
              }),
              "new version");
}

/// As between two subvolumes: one device, but no rename from one to the other.
TEST(CopierPlaces, WhereARenameIsRefusedTheCopyIsMadeAgainBesideItsTarget) {
    for (const bool isUpdate : {false, true}) {
        EXPECT_EQ(PlanUnderTest::inChild([&]() -> std::string {
                      CopyBox box(Where::InArea);
                      box.file("from/file", noise(3 * mebibyte), {1'600'000'000, 123'456'789});
                      fs::permissions(box / "from/file", fs::perms(0440));
                      if (isUpdate)
                          box.file("OneDrive/file", "old version", later(someTime, -100));
                      RunUnderTest::refuseRenameAcross(EXDEV, EXDEV);
                      std::string wrong = box.copy();
                      wrong += box.snapshot("OneDrive") == box.snapshot("from") ? "" : "; not the same";
                      wrong += (box.factsOf("OneDrive/file").st_mode & 0777) == 0440 ? "" : "; wrong mode";
                      wrong += box.target->volume->isBeside() ? "" : "; not remembered";
                      return wrong + (box.leftoverCopies().empty() ? "" : "; left something");
                  }),
                  "")
            << isUpdate;
    }
}

TEST(CopierPlaces, ADateThatGotLostOnTheWayIsSetAgain) {
    CopyBox box(Where::InArea);
    box.file("from/file");
    const FolderAnchor from(box / "from");
    Copier copier(box.token);
    StagedCopy staged = copier.stage({from.descriptor(), "file"}, box.target, someTime, [](std::int64_t) {});
    EXPECT_EQ(lookAt(staged.at().folder, staged.at().name)->mtime, someTime) << "dated before it is flushed";
    const timespec lost[] = {{0, 0}, {1, 0}};
    ASSERT_EQ(::utimensat(staged.at().folder, staged.at().name, lost, 0), 0);
    EXPECT_EQ(Copier::publish(staged, box.target, "file", {7, someTime}, nullptr, {}), Published::Added);
    EXPECT_EQ(box.time("OneDrive/file"), someTime);
}

TEST(CopierPlaces, AStagedCopyGoesWithItsOwnerAndIsLockedBesideItsTarget) {
    CopyBox box(Where::Beside);
    box.file("from/file");
    const FolderAnchor from(box / "from");
    {
        Copier copier(box.token);
        const StagedCopy staged =
            copier.stage({from.descriptor(), "file"}, box.target, someTime, [](std::int64_t) {});
        ASSERT_EQ(box.leftoverCopies().size(), 1u);
        const FileDescriptor file = OpenBelow::file(staged.at().folder, staged.at().name);
        EXPECT_FALSE(Lock::tryLock(file.get()));
    }
    EXPECT_EQ(box.leftoverCopies(), Lines());
}

} // namespace
