// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/ByteTable.h"
#include "tools/tables/change_filter.h"

#include <gtest/gtest.h>

namespace change_filter_test
{
using news = tables::change_filter::news;

struct Changes
{
    news put(const std::vector<unsigned char>& section, std::uint16_t PID = 0x10)
    {
        return filter.put({0, PID, section.data(), section.size()});
    }

    tables::change_filter filter;
};

/// A long section: table_id_extension 1, a version, current, the section_number of 0 to 1, and one byte.
std::vector<unsigned char> section(std::uint8_t version, std::uint8_t number, std::uint8_t byte, bool current = true)
{
    return zqtest::section_of(
        0x40, {0, 1, static_cast<std::uint8_t>(0xC0U | version << 1U | (current ? 1U : 0U)), number, 1, byte});
}

TEST(ChangeFilter, TellsTheFirstChangesAndRepetitionsOfASection)
{
    Changes changes;
    EXPECT_EQ(changes.put(section(1, 0, 5)), news::first);
    EXPECT_EQ(changes.put(section(1, 0, 5)), news::repeated);
    EXPECT_EQ(changes.put(section(2, 0, 5)), news::changed);
    EXPECT_EQ(changes.put(section(2, 0, 6)), news::changed) << "also with the same version";
    EXPECT_EQ(changes.put(section(2, 0, 6)), news::repeated);
}

TEST(ChangeFilter, KeepsSectionsTablesAndPIDsApart)
{
    Changes changes;
    EXPECT_EQ(changes.put(section(1, 0, 5)), news::first);
    EXPECT_EQ(changes.put(section(1, 1, 5)), news::first);
    EXPECT_EQ(changes.put(section(1, 0, 5), 0x11), news::first);
    EXPECT_EQ(changes.put(section(2, 0, 5, false)), news::first) << "what is not yet current is no change";
    EXPECT_EQ(changes.put(section(1, 0, 5)), news::repeated);
}

TEST(ChangeFilter, TakesATimeForAChange)
{
    Changes changes;
    EXPECT_EQ(changes.put({0x70, 0x70, 5, 1, 2, 3, 4, 5}), news::first);
    EXPECT_EQ(changes.put({0x70, 0x70, 5, 1, 2, 3, 4, 6}), news::changed);
}
} // namespace change_filter_test
