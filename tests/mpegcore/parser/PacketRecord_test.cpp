// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/PacketRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>

namespace mpegcore
{
static void PrintTo(FieldStores stores, std::ostream* out)
{
    *out << (stores == FieldStores::lines ? "lines" : stores == FieldStores::half_lines ? "half lines" : "usual");
}
} // namespace mpegcore

namespace PacketRecord_test
{
using mpegcore::FieldStores;

class FieldStoresOf : public testing::TestWithParam<FieldStores>
{};

TEST_P(FieldStoresOf, ClearTheFieldAndNothingElse)
{
    if (GetParam() > mpegcore::widest_field_stores())
        GTEST_SKIP() << "this processor has none";
    mpegcore::AlignedRecord record;
    std::memset(static_cast<void*>(&record), 0xA5, sizeof(record));
    mpegcore::clear_field(record.packet.adaptation_field, GetParam());

    const auto* const begin = reinterpret_cast<const unsigned char*>(&record);
    const auto* const field = reinterpret_cast<const unsigned char*>(&record.packet.adaptation_field);
    const auto* const field_end = field + sizeof(record.packet.adaptation_field);
    const auto is = [](unsigned char value) { return [value](unsigned char byte) { return byte == value; }; };
    EXPECT_TRUE(std::all_of(field, field_end, is(0)));
    EXPECT_TRUE(std::all_of(begin, field, is(0xA5)));
    EXPECT_TRUE(std::all_of(field_end, begin + sizeof(record), is(0xA5)));
}

INSTANTIATE_TEST_SUITE_P(AnyProcessor, FieldStoresOf,
                         testing::Values(FieldStores::usual, FieldStores::half_lines, FieldStores::lines));
} // namespace PacketRecord_test
