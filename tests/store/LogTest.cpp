#include "store/StoreUnderTest.h"

#include <regex>

TEST_F(StoreUnderTest, TheLogKeepsTheOrderOfTheCallsAndRotatesAboveFiveMillionBytes) {
    Log("/proc/none/log").write(QStringLiteral("lost in silence"));
    const std::regex time("20\\d\\d-[01]\\d-[0-3]\\d [0-2]\\d:[0-5]\\d:[0-5]\\d");
    for (const std::size_t size : {0u, 5'000'000u, 5'000'001u}) {
        tree.file("log", std::string(size, '.'));
        tree.file("log.1", "older");
        Log log(tree / "log");
        std::string expected;
        for (int i = 0; i < (size > 0 ? 1 : 300); ++i) {
            log.write(QStringLiteral("ü\n") + QString::number(i));
            expected += "T  ü\n" + std::to_string(i) + '\n';
        }
        EXPECT_TRUE(log.flush(std::chrono::seconds(10)));
        const bool isRotated = size > 5'000'000;
        EXPECT_EQ(std::regex_replace(tree.read("log").substr(isRotated ? 0 : size), time, "T"), expected);
        EXPECT_EQ(fs::file_size(tree / "log.1"), isRotated ? size : 5);
    }
}
