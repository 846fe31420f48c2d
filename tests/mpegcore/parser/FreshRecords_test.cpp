// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/ParserJournal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace FreshRecords_test
{
using mpegcore::CBaseStreamTypeMap;
using mpegcore::transport_packet;
using zqtest::Bytes;

/// The bytes of every record as the first callback gets it, without those that belong to nobody.
class RecordsAtFirst : public mpegcore::CBaseMpegParser
{
public:
    RecordsAtFirst() : CBaseMpegParser(true) {}

    void OnPreProcess(unsigned int, const transport_packet& packet) override
    {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(&packet);
        Bytes record(bytes, bytes + sizeof packet);
        std::fill(record.begin() + offsetof(transport_packet, continuity_counter) + 1,
                  record.begin() + offsetof(transport_packet, adaptation_field), 0);
        records.push_back(std::move(record));
    }

    std::vector<Bytes> records;
};

/// Writes over what it is given, wherever it is given it.
class Scribbler : public RecordsAtFirst
{
public:
    using CBaseMpegParser::OnPES;
    void OnPES(unsigned short, const CBaseStreamTypeMap*, transport_packet* p) override { scribble_field(p); }
    void OnPES(unsigned short, unsigned short, const CBaseStreamTypeMap*, transport_packet* p) override
    {
        scribble_field(p);
    }
    void OnPCR(transport_packet* p) override { scribble_field(p); }
    void OnEMM(transport_packet* p) override { scribble_field(p); }
    void OnECM(transport_packet* p) override { scribble_field(p); }
    void OnNULL(transport_packet* p) override { scribble_field(p); }
    void onOtherPid(transport_packet* p) override { scribble_field(p); }
    void OnProcess(unsigned int, transport_packet& packet) override
    {
        if (whole_records)
            std::memset(static_cast<void*>(&packet), 0xA5, sizeof packet);
    }

    bool whole_records = false;
    std::size_t scribbled = 0;

private:
    void scribble_field(transport_packet* packet)
    {
        std::memset(static_cast<void*>(&packet->adaptation_field), 0xA5, sizeof packet->adaptation_field);
        ++scribbled;
    }
};

class FreshRecords : public zqtest::ParserTest, public testing::WithParamInterface<bool>
{
protected:
    /// Rows of packets of every kind, so that each kind comes behind each other one.
    void SetUp() override
    {
        stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, 0x104, {0x101, 0x102}, CA(0x103)));
        for (const unsigned PID : {0x101U, 0x102U, 0x103U, 0x104U, 0x105U, 0x1FFFU, 0x101U, 0x1FFFU, 0x105U, 0x102U}) {
            stream.packet(PID, goes_on, payload).packet(PID, goes_on, payload).packet(PID, begins, payload);
            stream.packet(PID, goes_on, payload).PCR(PID, 7, 9).packet(PID, goes_on, payload);
            stream.raw(PID, goes_on, 3, {200}).packet(PID, goes_on, payload); // a field that cannot be
            stream.raw(PID, goes_on, 2, {183, 0x1F}).packet(PID, goes_on, payload);
        }
        for (RecordsAtFirst* const each : {&expected, static_cast<RecordsAtFirst*>(&parser)})
            each->set_sections_by_the_standard(GetParam());
    }

    void handle()
    {
        for (RecordsAtFirst* const each : {&expected, static_cast<RecordsAtFirst*>(&parser)})
            each->Process(stream.data.data(), stream.data.size());
    }

    void expect_same_records() const
    {
        ASSERT_EQ(parser.records.size(), expected.records.size());
        for (std::size_t at = 0; at < parser.records.size(); ++at)
            EXPECT_TRUE(parser.records[at] == expected.records[at]) << "packet " << at;
    }

    RecordsAtFirst expected;
    Scribbler parser;
};

TEST_P(FreshRecords, HoldNothingOfWhatCallbacksWroteIntoAdaptationFields)
{
    handle();
    ASSERT_GT(parser.scribbled, 100U);
    expect_same_records();
}

TEST_P(FreshRecords, HoldNothingOfWhatTheLastCallbackWroteAnywhere)
{
    parser.whole_records = true;
    handle();
    expect_same_records();
}

INSTANTIATE_TEST_SUITE_P(ByTheStandardOrNot, FreshRecords, testing::Bool());
} // namespace FreshRecords_test
