// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/T2MI.h"

#include <gmock/gmock.h>

namespace T2MIRecords_test
{
using namespace zqtest;
using testing::SizeIs;

const Bytes timestamp_payload{0x04, 0x12, 0x34, 0x56, 0x78, 0x9A, 0x80, 0x00, 0x00, 0x20, 0x05};

Recording fed(const Stream& stream) { return decapsulated_stream(stream.data); }

TEST(T2MITimestamps, HaveAllTheirFields)
{
    const auto decapsulator = fed(stream_of({t2mi_packet(0x20, timestamp_payload)}));
    ASSERT_THAT(decapsulator.timestamps, SizeIs(1));
    const auto& timestamp = decapsulator.timestamps[0];
    EXPECT_EQ(timestamp.rfu, 0);
    EXPECT_EQ(timestamp.bw, 4);
    EXPECT_EQ(timestamp.seconds_since_2000, 0x123456789AU);
    EXPECT_EQ(timestamp.subseconds, 0x4000001U);
    EXPECT_EQ(timestamp.utco, 5);
}

TEST(T2MITimestamps, ThatAreTooShortHaveZeroInTheFieldsNotReached)
{
    // 3 payload bytes and the 4 of the CRC hold rfu, bw and seconds_since_2000.
    const Bytes packet = t2mi_packet(0x20, {0xF4, 0x01, 0x02});
    const auto decapsulator = fed(stream_of({packet}));
    ASSERT_THAT(decapsulator.timestamps, SizeIs(1));
    const auto& timestamp = decapsulator.timestamps[0];
    EXPECT_EQ(timestamp.rfu, 15);
    EXPECT_EQ(timestamp.bw, 4);
    EXPECT_EQ(timestamp.seconds_since_2000, 0x0102000000U | (packet[9] << 16 | packet[10] << 8 | packet[11]));
    EXPECT_EQ(timestamp.subseconds, 0U);
    EXPECT_EQ(timestamp.utco, 0);
}

TEST(T2MIAuxiliaryStreams, RunToTheEndOfThePacketWithItsCRC)
{
    const Bytes packet = t2mi_packet(0x01, {0x21, 0xA5, 0x43, 0x01, 0x02});
    const auto decapsulator = fed(stream_of({packet}));
    ASSERT_THAT(decapsulator.auxiliaries, SizeIs(1));
    const auto& auxiliary = decapsulator.auxiliaries[0];
    EXPECT_EQ(auxiliary.fields.frame_idx, 0x21);
    EXPECT_EQ(auxiliary.fields.aux_id, 0x0A);
    EXPECT_EQ(auxiliary.fields.rfu, 0x543);
    EXPECT_EQ(auxiliary.payload, slice(packet, 6, 9));
    EXPECT_EQ(auxiliary.aux_data, slice(packet, 9, 6));
}

TEST(T2MIAuxiliaryStreams, MayBeShorterThanTheirFields)
{
    const Bytes packet = t2mi_packet(0x01, {0x42});
    const auto decapsulator = fed(stream_of({packet}));
    ASSERT_THAT(decapsulator.auxiliaries, SizeIs(1));
    EXPECT_EQ(decapsulator.auxiliaries[0].fields.frame_idx, 0x42);
    EXPECT_EQ(decapsulator.auxiliaries[0].payload, slice(packet, 6, 5));
    EXPECT_EQ(decapsulator.auxiliaries[0].aux_data, slice(packet, 9, 2));
}
} // namespace T2MIRecords_test
