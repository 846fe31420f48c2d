// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/t2mi_options.h"

#include <gtest/gtest.h>

namespace t2mi_options_test
{
using t2mi::t2mi_options;

TEST(EncapsulatorOptions, AreGoodAsTheyStand) { EXPECT_EQ(find_fault(t2mi_options{}), ""); }

TEST(EncapsulatorOptions, OutOfRangeAreTold)
{
    const auto faulty = [](auto change) {
        t2mi_options options;
        change(options);
        return !find_fault(options).empty();
    };
    EXPECT_TRUE(faulty([](auto& o) { o.program_number = 0; }));
    EXPECT_TRUE(faulty([](auto& o) { o.pmt_PID = 0x1F; }));
    EXPECT_TRUE(faulty([](auto& o) { o.t2mi_PID = 0x1FFF; }));
    EXPECT_TRUE(faulty([](auto& o) { o.t2mi_PID = o.pmt_PID; }));
    EXPECT_TRUE(faulty([](auto& o) { o.t2mi_stream_id = 8; }));
    EXPECT_TRUE(faulty([](auto& o) { o.data_field_bytes_min = 186; }));
    EXPECT_TRUE(faulty([](auto& o) { o.data_field_bytes_max = 8179; }));
    EXPECT_TRUE(faulty([](auto& o) { o.data_field_bytes_max = o.data_field_bytes_min - 1; }));
    EXPECT_TRUE(faulty([](auto& o) { o.baseband_frames_per_t2_frame = 0; }));
    EXPECT_TRUE(faulty([](auto& o) { o.t2_frames_per_superframe = 0; }));
    EXPECT_TRUE(faulty([](auto& o) { o.t2_frames_per_superframe = 257; }));
    EXPECT_TRUE(faulty([](auto& o) { o.auxiliary_bytes = 8189; }));
    EXPECT_TRUE(faulty([](auto& o) { o.start_seconds = std::uint64_t{1} << 40; }));
    EXPECT_TRUE(faulty([](auto& o) { o.common_plp = 1; }));
    EXPECT_TRUE(faulty([](auto& o) { o.bitrate = 10'000'000'001; }));
}
} // namespace t2mi_options_test
