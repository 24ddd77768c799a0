#include "records/Json.h"
#include "records/SampleRecords.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>

namespace {

/// Damages a valid document in one of the ways in which files get damaged, or an attacker would.
class Mutator {
  public:
    explicit Mutator(std::uint32_t seed) : random(seed) {}

    QByteArray damaged(QByteArray bytes) {
        for (std::size_t times = 1 + below(3); times > 0; --times)
            damage(bytes);
        return bytes;
    }

  private:
    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random() % limit; }
    qsizetype position(const QByteArray &bytes) {
        return static_cast<qsizetype>(below(static_cast<std::size_t>(bytes.size())));
    }

    void damage(QByteArray &bytes) {
        if (bytes.isEmpty())
            return;
        const qsizetype at = position(bytes);
        switch (below(7)) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        case 1:
            bytes[at] = static_cast<char>(below(256));
            break;
        case 2:
            bytes.truncate(at);
            break;
        case 3:
            replaceValue(bytes, at);
            break;
        case 4:
            bytes.insert(position(bytes), bytes.mid(at, static_cast<qsizetype>(below(80))));
            break;
        case 5:
            bytes.remove(at, static_cast<qsizetype>(below(40)));
            break;
        default:
            nest(bytes, at);
        }
    }

    /// Puts another token in the place of the value behind the next colon.
    void replaceValue(QByteArray &bytes, qsizetype at) {
        static constexpr std::array<const char *, 24> tokens = {"true",
                                                                "false",
                                                                "null",
                                                                "0",
                                                                "1.0",
                                                                "1e3",
                                                                "1.5",
                                                                "-9223372036854775808",
                                                                "-9223372036854775809",
                                                                "9223372036854775807",
                                                                "9223372036854775808",
                                                                "1e999",
                                                                "\"\"",
                                                                "\"manual\"",
                                                                "\"updated\"",
                                                                "\"type\"",
                                                                R"("\ud800")",
                                                                R"("\udc00\ud800")",
                                                                R"("\ufeff\u0000")",
                                                                "\"0001-01-01T00:00:00Z\"",
                                                                "\"9999-12-31T23:59:59+00:00\"",
                                                                "[]",
                                                                "{}",
                                                                "\"abcdefAB-0000-0000-0000-000000000000\""};
        const qsizetype colon = bytes.indexOf(" : ", at);
        if (colon < 0)
            return;
        const qsizetype from = colon + 3;
        const qsizetype end = std::min(bytes.indexOf('\n', from), bytes.indexOf(',', from));
        bytes.replace(from, std::max<qsizetype>(end - from, 0), tokens[below(tokens.size())]);
    }

    void nest(QByteArray &bytes, qsizetype at) {
        static constexpr std::array<const char *, 3> openers = {"[", "{\"k\":", "[{\"pairs\":"};
        const auto depth = static_cast<qsizetype>(below(8) == 0 ? 3000 : below(20));
        bytes.insert(at, QByteArray(openers[below(openers.size())]).repeated(depth));
    }

    std::mt19937 random;
};

/// How many of the damaged documents were read, and how many refused.
struct Tally {
    int read = 0;
    int refused = 0;
};

template <typename T>
Tally hammer(const T &record, int mutations, std::uint32_t seed) {
    const QByteArray valid = Json::toBytes(record);
    Mutator mutator(seed);
    Tally tally;
    for (int i = 0; i < mutations; ++i) {
        const QByteArray damaged = mutator.damaged(valid);
        try {
            const T first = Json::fromBytes<T>(damaged);
            EXPECT_TRUE(Json::fromBytes<T>(Json::toBytes(first)) == first) << damaged.constData();
            ++tally.read;
        } catch (const JsonError &) {
            ++tally.refused;
        }
    }
    return tally;
}

template <typename T>
class DamagedDocumentTest : public testing::Test {};

template <typename T>
T sample();
template <>
FolderPair sample() {
    return Sample::folderPair();
}
template <>
AppConfig sample() {
    return Sample::appConfig();
}
template <>
ChangeRecord sample() {
    return Sample::change();
}
template <>
PairResult sample() {
    return Sample::pairResult();
}
template <>
SkippedItem sample() {
    return Sample::skippedItem();
}
template <>
SyncRun sample() {
    return Sample::syncRun();
}
template <>
std::vector<SyncRun> sample() {
    return {Sample::syncRun(), SyncRun()};
}

using Documents = testing::Types<FolderPair, AppConfig, ChangeRecord, PairResult, SkippedItem, SyncRun,
                                 std::vector<SyncRun>>;
TYPED_TEST_SUITE(DamagedDocumentTest, Documents);

TYPED_TEST(DamagedDocumentTest, IsReadOrRefusedAndReadsBackAsWritten) {
    constexpr int mutations = 5000;
    const Tally tally = hammer(sample<TypeParam>(), mutations, 20260901);
    // Both ways must be well trodden, or the mutations are too weak or too wild to find anything.
    EXPECT_GT(tally.read, mutations / 50);
    EXPECT_GT(tally.refused, mutations / 4);
}

} // namespace
