// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/syntax/Record.h"
#include "mpegcore/t2mi/DVBT2Timestamp.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIHeader.h"
#include "mpegcore/t2mi/T2MIPrinter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace T2MIRecords_test
{
using mpegcore::DVBT2Timestamp;
using mpegcore::L1Current;
using mpegcore::T2MIHeader;
using testing::IsEmpty;
using testing::SizeIs;

using Bytes = std::vector<unsigned char>;

Bytes bytes_of(std::string_view hexadecimal)
{
    Bytes bytes;
    for (std::size_t at = 0; at + 1 < hexadecimal.size(); at += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoi(std::string(hexadecimal.substr(at, 2)), nullptr, 16)));
    return bytes;
}

/// Of a satellite feed: one PLP of 16-QAM 3/5 in two T2 frames a super-frame.
const Bytes on_air = bytes_of("0000"
                              "00882020005E0013E200000030033003020290208F"
                              "00BF"
                              "000202000000000001988C00008920A00810FFF47FFFFFFE"
                              "007F"
                              "0000000000000001FECC00000029FFFE"
                              "0000");

template <class Record>
Bytes written(const Record& record, std::size_t room)
{
    Bytes bytes(room);
    bytes.resize(mpegcore::write_record(record, bytes.data(), room));
    return bytes;
}

L1Current with_all_loops()
{
    L1Current l1;
    l1.frame_idx = 3;
    l1.freq_source = 2;
    l1.L1PRE.S2 = 9;
    l1.L1PRE.L1_POST_SIZE = 0x2ABCD;
    l1.L1CONF.RFs = {{0, 474000000}, {1, 482000000}};
    l1.L1CONF.FEF_TYPE = 5;
    l1.L1CONF.FEF_LENGTH = 0x2AAAAA;
    l1.L1CONF.FEF_INTERVAL = 7;
    l1.L1CONF.PLPs.resize(3);
    l1.L1CONF.PLPs[1].PLP_ID = 200;
    l1.L1CONF.PLPs[2].PLP_NUM_BLOCKS_MAX = 1023;
    l1.L1CONF.AUXs = {{4, 0xABCDEF1}};
    l1.L1DYN_CURR.PLPs.resize(3);
    l1.L1DYN_CURR.PLPs[2].PLP_START = 0x3FFFFF;
    l1.L1DYN_CURR.AUXs = {{0x123456789ABC}};
    l1.L1EXT = {0xFF, 0x00, 0x00};
    l1.L1EXT_LEN = 24;
    l1.measure();
    return l1;
}

TEST(T2MIHeader, HasTheFieldsOfAPacketOnAir)
{
    T2MIHeader header;
    const Bytes bytes = bytes_of("201150070058");
    ASSERT_TRUE(mpegcore::read_record(header, bytes.data(), bytes.size()));
    EXPECT_EQ(header.packet_type, 0x20);
    EXPECT_EQ(header.packet_count, 0x11);
    EXPECT_EQ(header.superframe_idx, 5);
    EXPECT_EQ(header.rfu, 0);
    EXPECT_EQ(header.t2mi_stream_id, 7);
    EXPECT_EQ(header.payload_len, 88);
    EXPECT_EQ(written(header, 6), bytes);
}

TEST(T2MIPacketTypes, AreKnownByTableOne)
{
    unsigned known = 0;
    for (unsigned type = 0; type < 256; ++type)
        known += mpegcore::is_known_T2MI_packet_type(static_cast<std::uint8_t>(type)) ? 1 : 0;
    EXPECT_EQ(known, 12U);
    EXPECT_TRUE(mpegcore::is_known_T2MI_packet_type(0x33));
    EXPECT_FALSE(mpegcore::is_known_T2MI_packet_type(0x34));
    EXPECT_FALSE(mpegcore::is_known_T2MI_packet_type(0x03));
}

TEST(DVBT2Timestamp, IsRelativeOnASatelliteFeed)
{
    DVBT2Timestamp timestamp;
    const Bytes bytes = bytes_of("02000000000012766AA000");
    ASSERT_TRUE(mpegcore::read_record(timestamp, bytes.data(), bytes.size()));
    EXPECT_EQ(timestamp.bw, 2);
    EXPECT_EQ(timestamp.subseconds_per_second(), 48000000U);
    EXPECT_EQ(timestamp.subseconds, 9679701U); // 201.66 ms
    EXPECT_TRUE(timestamp.is_relative());
    EXPECT_FALSE(timestamp.is_null());
    EXPECT_EQ(written(timestamp, 11), bytes);
}

TEST(DVBT2Timestamp, CanBeAbsolute)
{
    DVBT2Timestamp timestamp;
    const Bytes bytes = bytes_of("04002FAF08003D09000005");
    ASSERT_TRUE(mpegcore::read_record(timestamp, bytes.data(), bytes.size()));
    EXPECT_EQ(timestamp.seconds_since_2000, 800000000U);
    EXPECT_EQ(timestamp.subseconds, timestamp.subseconds_per_second() / 2);
    EXPECT_EQ(timestamp.utco, 5);
    EXPECT_FALSE(timestamp.is_relative());
}

TEST(DVBT2Timestamp, IsNullWithAllOnes)
{
    DVBT2Timestamp timestamp;
    const Bytes bytes = bytes_of("04FFFFFFFFFFFFFFFFFFFF");
    ASSERT_TRUE(mpegcore::read_record(timestamp, bytes.data(), bytes.size()));
    EXPECT_TRUE(timestamp.is_null());
    timestamp.utco ^= 1;
    EXPECT_FALSE(timestamp.is_null());
}

TEST(DVBT2Timestamp, CountsNothingInABandwidthWithoutMeaning)
{
    DVBT2Timestamp timestamp;
    for (timestamp.bw = 6; timestamp.bw < 16; ++timestamp.bw)
        EXPECT_EQ(timestamp.subseconds_per_second(), 0U);
}

TEST(L1Current, ReadsThatOfASatelliteFeed)
{
    L1Current l1;
    ASSERT_TRUE(l1.read(on_air.data(), on_air.size()));
    EXPECT_EQ(l1.frame_idx, 0);
    EXPECT_EQ(l1.L1PRE.BWT_EXT, 1);
    EXPECT_EQ(l1.L1PRE.S2, 8);
    EXPECT_FALSE(l1.L1PRE.has_FEF());
    EXPECT_EQ(l1.L1PRE.GUARD_INTERVAL, 2);
    EXPECT_EQ(l1.L1PRE.L1_MOD, 2);
    EXPECT_EQ(l1.L1PRE.L1_POST_SIZE, 376U);
    EXPECT_EQ(l1.L1PRE.L1_POST_INFO_SIZE, 318U);
    EXPECT_EQ(l1.L1PRE.PILOT_PATTERN, 2);
    EXPECT_EQ(l1.L1PRE.NETWORK_ID, 0x3003);
    EXPECT_EQ(l1.L1PRE.T2_SYSTEM_ID, 0x3003);
    EXPECT_EQ(l1.L1PRE.NUM_T2_FRAMES, 2);
    EXPECT_EQ(l1.L1PRE.NUM_DATA_SYMBOLS, 41);
    EXPECT_EQ(l1.L1PRE.NUM_RF, 1);
    EXPECT_EQ(l1.L1PRE.T2_VERSION, 2);
    EXPECT_EQ(l1.L1PRE.RESERVED, 15);
    EXPECT_EQ(l1.L1CONF.SUB_SLICES_PER_FRAME, 1);
    EXPECT_THAT(l1.L1CONF.RFs, SizeIs(1));
    ASSERT_THAT(l1.L1CONF.PLPs, SizeIs(1));
    const auto& plp = l1.L1CONF.PLPs[0];
    EXPECT_EQ(plp.PLP_ID, 102);
    EXPECT_EQ(plp.PLP_TYPE, 1);
    EXPECT_EQ(plp.PLP_PAYLOAD_TYPE, 3);
    EXPECT_EQ(plp.PLP_GROUP_ID, 2);
    EXPECT_EQ(plp.PLP_COD, 1);
    EXPECT_EQ(plp.PLP_MOD, 1);
    EXPECT_EQ(plp.PLP_ROTATION, 0);
    EXPECT_EQ(plp.PLP_FEC_TYPE, 1);
    EXPECT_EQ(plp.PLP_NUM_BLOCKS_MAX, 20);
    EXPECT_EQ(plp.FRAME_INTERVAL, 1);
    EXPECT_EQ(plp.TIME_IL_LENGTH, 2);
    EXPECT_EQ(plp.RESERVED_1, 0x7FF);
    EXPECT_EQ(plp.PLP_MODE, 2);
    EXPECT_EQ(plp.STATIC_FLAG, 1);
    EXPECT_EQ(l1.L1CONF.RESERVED_2, 0x3FFFFFFFU);
    EXPECT_THAT(l1.L1CONF.AUXs, IsEmpty());
    EXPECT_EQ(l1.L1DYN_CURR.RESERVED_1, 0xFF);
    ASSERT_THAT(l1.L1DYN_CURR.PLPs, SizeIs(1));
    EXPECT_EQ(l1.L1DYN_CURR.PLPs[0].PLP_ID, 102);
    EXPECT_EQ(l1.L1DYN_CURR.PLPs[0].PLP_NUM_BLOCKS, 20);
    EXPECT_THAT(l1.L1EXT, IsEmpty());
    EXPECT_EQ(l1.payload(), on_air);
}

TEST(L1Current, TellsHowManyCellsItTakes)
{
    L1Current l1;
    ASSERT_TRUE(l1.read(on_air.data(), on_air.size()));
    EXPECT_EQ(l1.L1_post_cells(), l1.L1PRE.L1_POST_SIZE);
    l1.measure();
    EXPECT_EQ(l1.payload(), on_air);
    // 350 bits become 1500: 8K has 2 P2 symbols, 64-QAM 6 bits a cell.
    l1.L1PRE.S2 = 2;
    l1.L1PRE.L1_MOD = 3;
    EXPECT_EQ(l1.L1_post_cells(), 250U);
    // 35116 bits and 32 of CRC are 5 blocks of 7030, 16196 bits of each on air.
    l1.L1PRE.S2 = 8;
    l1.L1PRE.L1_POST_INFO_SIZE = 35116;
    EXPECT_EQ(l1.L1_post_cells(), 5U * 2700);
    l1.L1PRE.L1_MOD = 4;
    EXPECT_EQ(l1.L1_post_cells(), 0U);
}

TEST(L1Current, WritesAndReadsAllItsLoops)
{
    const L1Current l1 = with_all_loops();
    EXPECT_EQ(l1.L1CONF_LEN, 67 + 35 * 2 + 34 + 89 * 3 + 32);
    EXPECT_EQ(l1.L1DYN_CURR_LEN, 79 + 48 * 3 + 48);
    const Bytes bytes = l1.payload();
    EXPECT_THAT(bytes, SizeIs(2 + 21 + 2 + (l1.L1CONF_LEN + 7U) / 8 + 2 + (l1.L1DYN_CURR_LEN + 7U) / 8 + 2 + 3));
    L1Current back;
    ASSERT_TRUE(back.read(bytes.data(), bytes.size()));
    EXPECT_EQ(back.payload(), bytes);
    EXPECT_EQ(back.L1CONF.RFs[1].FREQUENCY, 482000000U);
    EXPECT_EQ(back.L1CONF.FEF_LENGTH, 0x2AAAAAU);
    EXPECT_EQ(back.L1CONF.PLPs[2].PLP_NUM_BLOCKS_MAX, 1023);
    EXPECT_EQ(back.L1CONF.AUXs[0].AUX_PRIVATE_CONF, 0xABCDEF1U);
    EXPECT_EQ(back.L1DYN_CURR.PLPs[2].PLP_START, 0x3FFFFFU);
    EXPECT_EQ(back.L1DYN_CURR.AUXs[0].AUX_PRIVATE_DYN, 0x123456789ABCU);
    EXPECT_EQ(back.L1PRE.L1_POST_INFO_SIZE, back.L1CONF_LEN + back.L1DYN_CURR_LEN + 24U);
}

TEST(L1Current, IsRefusedWhenTruncatedAnywhere)
{
    for (const Bytes& bytes : {on_air, with_all_loops().payload()})
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            const auto block = std::make_unique<unsigned char[]>(size);
            std::copy_n(bytes.begin(), size, block.get());
            L1Current l1;
            EXPECT_FALSE(l1.read(block.get(), size)) << size;
        }
}

TEST(L1Current, IsRefusedWithLengthsThatAreNotThoseOfItsContents)
{
    constexpr std::size_t L1CONF_LEN_at = 2 + 21, L1DYN_CURR_LEN_at = L1CONF_LEN_at + 2 + 24;
    for (const std::size_t at : {L1CONF_LEN_at + 1, L1DYN_CURR_LEN_at + 1}) {
        Bytes bytes = on_air;
        --bytes[at];
        L1Current l1;
        EXPECT_FALSE(l1.read(bytes.data(), bytes.size())) << at;
    }
}

TEST(L1Current, SurvivesRandomBytes)
{
    std::mt19937 random(5);
    unsigned read = 0;
    for (unsigned round = 0; round < 1000; ++round) {
        Bytes bytes = with_all_loops().payload();
        for (unsigned flips = random() % 6; flips != 0; --flips)
            bytes[random() % bytes.size()] ^= static_cast<unsigned char>(1U << random() % 8);
        L1Current l1;
        if (!l1.read(bytes.data(), bytes.size()))
            continue;
        ++read;
        const Bytes back = l1.payload(); // a shorter L1EXT leaves bytes behind it
        ASSERT_LE(back.size(), bytes.size());
        EXPECT_TRUE(std::equal(back.begin(), back.end(), bytes.begin()));
    }
    EXPECT_GT(read, 200U);
}

TEST(L1Current, TellsHowLongItsSuperframeIs)
{
    // On air the timestamps of two super-frames are 10866688 units of 1/48 us apart, 7 of them a period.
    L1Current l1;
    ASSERT_TRUE(l1.read(on_air.data(), on_air.size()));
    EXPECT_EQ(l1.T2_frame_periods(), 776192U);
    EXPECT_EQ(l1.superframe_periods() * 7, 10866688U);
    l1.L1PRE.S2 |= 1;
    l1.L1CONF.FEF_LENGTH = 10000;
    l1.L1CONF.FEF_LENGTH_MSB = 1;
    l1.L1CONF.FEF_INTERVAL = 2;
    EXPECT_EQ(l1.superframe_periods(), 2 * 776192U + 10000);
    l1.L1PRE.S1 = 3;
    EXPECT_EQ(l1.superframe_periods(), 2 * 776192U + 10000 + (1U << 22));
    l1.L1PRE.GUARD_INTERVAL = 7;
    EXPECT_EQ(l1.superframe_periods(), 0U);
}

TEST(T2MIPrinter, NamesTheFieldsOfTheStandardsAndWhatTheyMean)
{
    DVBT2Timestamp timestamp;
    ASSERT_TRUE(mpegcore::read_record(timestamp, bytes_of("02000000000012766AA000").data(), 11));
    EXPECT_EQ(mpegcore::to_json(timestamp),
              R"({"rfu":0,"bw":2,"bw_name":"6 MHz","seconds_since_2000":0,"subseconds":9679701,"utco":0})");
    L1Current l1;
    ASSERT_TRUE(l1.read(on_air.data(), on_air.size()));
    EXPECT_THAT(mpegcore::to_json(l1), testing::AllOf(testing::HasSubstr(R"("PLP_MOD":1,"PLP_MOD_name":"16-QAM")"),
                                                      testing::HasSubstr(R"("dynamic_PLPs":[{"PLP_ID":102,)"),
                                                      testing::HasSubstr(R"("PLP_NUM_BLOCKS":20)")));
    EXPECT_THAT(mpegcore::to_text(l1, 2), testing::HasSubstr("    PLP_COD: 1 3/5\n"));
}
} // namespace T2MIRecords_test
