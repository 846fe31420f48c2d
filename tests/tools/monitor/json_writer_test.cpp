// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/json_writer.h"

#include <gtest/gtest.h>

#include <limits>

namespace json_writer_test
{
using monitor::json_writer;

TEST(JsonWriter, PutsCommasWhereTheyBelong)
{
    std::string text;
    json_writer json(text);
    json.open('{').member("a", 1).member("b", true).key("c").open('[').value("x").value(2).open('{').close('}');
    json.close(']').key("d").null().key("e").open('[').close(']').member("f", 0.5).close('}');
    EXPECT_EQ(text, R"({"a":1,"b":true,"c":["x",2,{}],"d":null,"e":[],"f":0.5})");
}

TEST(JsonWriter, QuotesWhateverATextHolds)
{
    std::string text;
    json_writer(text).value(std::string("a\"\\\n\x01\xFF\xC3\xA4\0b", 10));
    EXPECT_EQ(text, "\"a\\\"\\\\\\n\\u0001\xEF\xBF\xBD\xC3\xA4\\u0000b\"");
}

TEST(JsonWriter, WhatIsNoNumberIsNull)
{
    std::string text;
    json_writer(text).open('[').value(std::numeric_limits<double>::infinity()).value(1e300 * 1e300 * 0).close(']');
    EXPECT_EQ(text, "[null,null]");
}

TEST(JsonWriter, TimesAreUTCWithMilliseconds)
{
    EXPECT_EQ(monitor::iso_time(1'769'860'800'123'999'999), "2026-01-31T12:00:00.123Z");
    EXPECT_EQ(monitor::iso_time(0), "1970-01-01T00:00:00.000Z");
}
} // namespace json_writer_test
