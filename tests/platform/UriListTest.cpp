#include "platform/UriList.h"

#include <gtest/gtest.h>

namespace keldra {
namespace {

TEST(UriList, GivesTheFirstFileIfItIsALocalOne)
{
    const std::pair<std::string, const char*> kCases[] = {
        {"file:///tmp/a.fxp\r\n", "/tmp/a.fxp"},
        {"file:///tmp/a.fxp", "/tmp/a.fxp"},
        {"# comment\r\n\r\nfile://host/tmp/a\r\nfile:///b", "/tmp/a"},
        {"file:/tmp/a\n", "/tmp/a"},
        {"file:///tmp/My%20Lead%c3%a4.fxp", "/tmp/My Lead\xc3\xa4.fxp"},
        {"file:///100%", "/100%"}, // not an escape: taken as it stands
        {"file:///a%2", "/a%2"},
        {"file:///a%zz", "/a%zz"},
        {"file:///a%00b", ""}, // no path has a zero in it
        {"file://host", ""},
        {"file:relative", ""},
        {"", ""},
        {"\r\n\r\n", ""},
        {"file:///" + std::string(1023, 'x'), nullptr}, // 1024 bytes
        {"file:///" + std::string(1024, 'x') + "\r\nfile:///b", ""},
        {"http://x/y\r\nfile:///b", ""},
    };
    for (const auto& [list, path] : kCases)
        EXPECT_EQ(FirstPathOf(list), path != nullptr ? path : list.substr(7)) << list;
}

} // namespace
} // namespace keldra
