#include "sync/Copier.h"

#include "platform/FileFacts.h"
#include "platform/FolderAnchor.h"
#include "sync/CopyError.h"
#include "sync/RunUnderTest.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

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
        opened->volume = &area.volumeOf(opened->folder.get(), top() / "OneDrive");
        EXPECT_FALSE(opened->volume->isBeside());
        opened->volume->refusesRename = where == Where::Beside;
        target = opened;
    }

    /// Stages and publishes; the failure in words, or "".
    std::string copy(const BytesCallback &onBytes = [](std::int64_t) {}) {
        const FolderAnchor from(top() / "from");
        const FileVersion original = version("from/file").value_or(FileVersion());
        const std::optional<FileVersion> planned = version("OneDrive/file");
        try {
            Copier copier(token);
            StagedCopy staged = copier.stage(OpenedOriginal::open({from.descriptor(), "file"}), target, onBytes);
            Copier::publish(staged, target, "file", original, planned ? &*planned : nullptr, {});
        } catch (const std::system_error &error) {
            return "errno " + std::to_string(error.code().value());
        } catch (const std::exception &error) {
            return error.what();
        }
        return "";
    }

    /// The temporary items that are no part of a living area.
    Lines leftoverCopies() const {
        Lines found = leftovers();
        std::erase_if(found, [](const std::string &name) { return name.find(".tw-") == std::string::npos; });
        return found;
    }

    CancelToken token;

  private:
    std::optional<FileVersion> version(const std::string &relative) const {
        const auto facts = lookAt(AT_FDCWD, (top() / relative).c_str());
        return facts ? std::optional(FileVersion{facts->size, facts->mtime}) : std::nullopt;
    }

    TempArea area;
    std::shared_ptr<const TargetFolder> target;
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
        {"", {-1'000'000, 500'000'000}},
        {noise(20 * mebibyte + 1), {4'000'000'000, 999'999'999}},
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

TEST_P(CopierTest, AnOriginalThatChangesMeanwhileIsNoCopy) {
    const fs::path file = box / "from/file";
    const std::vector<std::pair<std::string, std::function<void()>>> changes = {
        {"grows and keeps its date",
         [&] {
             std::ofstream(file, std::ios::app | std::ios::binary) << "x";
             box.setTime("from/file", someTime);
         }},
        {"shrinks", [&] { fs::resize_file(file, 2 * mebibyte); }},
        {"is written to at its size",
         [&] { std::fstream(file, std::ios::in | std::ios::out | std::ios::binary) << "x"; }},
        {"is replaced by another of its size",
         [&] {
             box.file("from/new", std::string(3 * mebibyte, 'x'), later(someTime, 7));
             fs::rename(box / "from/new", file);
         }},
        {"goes", [&] { fs::remove(file); }},
    };
    box.file("OneDrive/file", "old version", later(someTime, -100));
    const auto before = box.snapshot("OneDrive");
    for (const auto &[name, change] : changes) {
        box.file("from/file", noise(3 * mebibyte));
        bool isDone = false;
        const std::string failure = box.copy([&](std::int64_t) {
            if (!std::exchange(isDone, true))
                change();
        });
        EXPECT_EQ(failure, incomplete) << name;
        EXPECT_EQ(box.snapshot("OneDrive"), before) << name;
        EXPECT_EQ(box.leftoverCopies(), Lines()) << name;
    }
}

TEST_P(CopierTest, ACancelStopsWithinSixteenMebibytes) {
    box.file("from/file", noise(50 * mebibyte));
    box.file("OneDrive/file", "old version", later(someTime, -100));
    const auto before = box.snapshot("OneDrive");
    std::int64_t last = 0;
    const std::string failure = box.copy([&](std::int64_t copied) {
        EXPECT_LE(copied, last + 16 * mebibyte);
        EXPECT_FALSE(box.token.isCancelled()) << "told of more after the cancel";
        last = copied;
        if (copied >= 20 * mebibyte)
            box.token.cancel();
    });
    EXPECT_EQ(failure, "cancelled");
    EXPECT_EQ(box.snapshot("OneDrive"), before);
    EXPECT_EQ(box.leftoverCopies(), Lines());
}

TEST_P(CopierTest, WhatIsNoFileIsNotCopied) {
    ASSERT_EQ(::mkfifo((box / "from/file").c_str(), 0600), 0);
    EXPECT_EQ(box.copy(), "This is no longer a file");
    fs::remove(box / "from/file");
    box.file("other");
    box.link("from/file", "../other");
    EXPECT_EQ(box.copy(), "errno " + std::to_string(ELOOP));
    EXPECT_TRUE(fs::is_empty(box / "OneDrive"));
}

} // namespace
