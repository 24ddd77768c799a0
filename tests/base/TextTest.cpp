#include "base/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(Text, OnlyUtf8GoesThereAndBack) {
    for (const std::string &bytes :
         {std::string("a\0b", 3), std::string("12345678\xE2\x82\xAC"), std::string("\xF4\x8F\xBF\xBF"),
          std::string("\xEF\xBF\xBD"), std::string("\xEF\xBB\xBF\xEF\xBB\xBF\xC3\xA9"), std::string()}) {
        EXPECT_TRUE(Text::isUtf8(bytes)) << bytes;
        EXPECT_EQ(Text::toBytes(Text::fromBytes(bytes)), bytes);
    }
    for (const char *bytes : {"12345678\xC3", "\xEF\xBB\xBF\xE9", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
        EXPECT_FALSE(Text::isUtf8(bytes)) << bytes;
    EXPECT_EQ(Text::fromBytes("caf\xE9").toStdString(), "caf\uFFFD");
}

} // namespace
