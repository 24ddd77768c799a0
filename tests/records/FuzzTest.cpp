#include "json/Json.h"
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
    qsizetype position(const auto &list) {
        return static_cast<qsizetype>(below(static_cast<std::size_t>(list.size())));
    }

    void damage(QByteArray &bytes) {
        if (bytes.isEmpty())
            return;
        const qsizetype at = position(bytes);
        switch (below(6)) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        case 1:
            bytes.truncate(at);
            break;
        case 2:
            replaceValue(bytes, at);
            break;
        case 3:
            bytes.insert(position(bytes), bytes.mid(at, static_cast<qsizetype>(below(80))));
            break;
        case 4:
            bytes.remove(at, static_cast<qsizetype>(below(40)));
            break;
        default:
            nest(bytes, at);
        }
    }

    /// Puts another token in the place of the value behind the next colon.
    void replaceValue(QByteArray &bytes, qsizetype at) {
        static const QList<QByteArray> tokens =
            QByteArray(
                R"(true|null|1.0|1e3|1.5|-9223372036854775808|9223372036854775808|1e999|""|"manual"|"updated"|[]|{}|)"
                R"("\ud800"|"\udc00\ud800"|"\ufeff\u0000"|"0001-01-01T00:00:00Z"|"9999-12-31T23:59:59+00:00")")
                .split('|');
        const qsizetype colon = bytes.indexOf(" : ", at);
        if (colon < 0)
            return;
        const qsizetype from = colon + 3;
        const qsizetype end = std::min(bytes.indexOf('\n', from), bytes.indexOf(',', from));
        bytes.replace(from, std::max<qsizetype>(end - from, 0), tokens[position(tokens)]);
    }

    void nest(QByteArray &bytes, qsizetype at) {
        static constexpr std::array openers = {"[", "{\"k\":", "[{\"pairs\":"};
        const auto depth = static_cast<qsizetype>(below(8) == 0 ? 3000 : below(20));
        bytes.insert(at, QByteArray(openers[below(openers.size())]).repeated(depth));
    }

    std::mt19937 random;
};

template <typename T>
void expectReadOrRefused(const T &record) {
    constexpr int mutations = 15'000;
    const QByteArray valid = Json::toBytes(record);
    Mutator mutator(20260901);
    EXPECT_TRUE(Json::fromBytes<T>(valid) == record);
    int refused = 0;
    for (int i = 0; i < mutations; ++i) {
        const QByteArray damaged = mutator.damaged(valid);
        try {
            const T first = Json::fromBytes<T>(damaged);
            EXPECT_TRUE(Json::fromBytes<T>(Json::toBytes(first)) == first) << damaged.constData();
        } catch (const JsonError &) {
            ++refused;
        }
    }
    // Both ways must be well trodden, or the mutations are too weak or too wild to find anything.
    EXPECT_GT(refused, mutations / 4);
    EXPECT_LT(refused, mutations - mutations / 50);
}

TEST(DamagedDocument, IsReadOrRefusedAndReadsBackAsWritten) {
    expectReadOrRefused(Sample::appConfig());
    expectReadOrRefused(std::vector{Sample::syncRun(), SyncRun()});
}

} // namespace
