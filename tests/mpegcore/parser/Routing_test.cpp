// SPDX-License-Identifier: LGPL-2.1-or-later
// The routes of the parser against the plain walk over all tables, packet by packet, over random multiplexes.
#include "support/ByteTable.h"
#include "support/Stream.h"
#include "support/descriptor_loops.h"
#include "support/rounds.h"

#include "mpegcore/BaseMpegParser.h"

#include <gmock/gmock.h>

#include <random>
#include <tuple>

namespace Routing_test
{
using mpegcore::transport_packet;
using zqtest::Bytes;
using zqtest::Stream;
using zqtest::operator+;

/// Callback, packet index, PMT PID, program_number or size, stream entry.
using call = std::tuple<std::string, long, unsigned, unsigned long, const void*>;

/// Records the callbacks behind the tables, and for each packet what the walk says they should have been.
class Walked : public mpegcore::CBaseMpegParser
{
public:
    Walked() : CBaseMpegParser(true) {}

    void OnPreProcess(unsigned int, const transport_packet&) override { ++index; }
    void OnPES(unsigned short pmt, const mpegcore::CBaseStreamTypeMap* es, transport_packet*) override
    {
        seen.emplace_back("packet", index, pmt, 0, es);
    }
    void OnPES(unsigned short pmt, mpegcore::CBaseStreamTypeMap* es, unsigned char*, unsigned long size) override
    {
        seen.emplace_back("unit", index, pmt, size, es);
    }
    void OnPES(unsigned short pmt, unsigned short number, const mpegcore::CBaseStreamTypeMap* es,
               transport_packet*) override
    {
        seen.emplace_back("program", index, pmt, number, es);
    }
    void OnEMM(transport_packet*) override { seen.emplace_back("EMM", index, 0, 0, nullptr); }
    void OnECM(transport_packet*) override { seen.emplace_back("ECM", index, 0, 0, nullptr); }
    void onOtherPid(transport_packet*) override { seen.emplace_back("other", index, 0, 0, nullptr); }
    void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT*) override { ++PMTs; }
    void OnPAT(mpegcore::CPAT*) override { ++PATs; }
    void OnCAT(mpegcore::CCAT*) override { ++CATs; }

    // Runs behind everything else of the packet, when the tables are still those that the packet met.
    void OnProcess(unsigned int, transport_packet& p) override
    {
        if (p.PID < 0x20 || p.PID == 0x1FFF || m_PAT.valid == 0 || m_PAT.current->programs.count(p.PID) != 0)
            return;
        for (const auto& [pmt_PID, wrapper] : m_PMTs)
            if (wrapper->valid != 0)
                walk(pmt_PID, *wrapper->current, p);
        if (m_CAT.valid != 0)
            count_CA(m_CAT.current->descriptors, p.PID, "EMM");
        expected.emplace_back("other", index, 0, 0, nullptr);
    }

    std::vector<call> seen, expected;
    std::vector<std::pair<unsigned, std::int64_t>> PCR_times;
    long index = -1;
    int PMTs = 0, PATs = 0, CATs = 0;

private:
    void walk(unsigned short pmt_PID, const mpegcore::CPMT& pmt, const transport_packet& p)
    {
        const auto stream = pmt.streams.find(p.PID);
        if (stream != pmt.streams.end()) {
            const auto* unit = m_PIDs[p.PID].completed;
            if ((p.adaptation_field_control & 1U) != 0 && p.payload_unit_start_indicator != 0 && unit->size != 0)
                expected.emplace_back("unit", index, pmt_PID, unit->size, stream->second.get());
            expected.emplace_back("packet", index, pmt_PID, 0, stream->second.get());
            expected.emplace_back("program", index, pmt_PID, pmt.program_number, stream->second.get());
            return;
        }
        const auto& field = p.adaptation_field;
        if (p.PID == pmt.PCR_PID && p.adaptation_field_control >= 2 && field.adaptation_field_length >= 7 &&
            field.PCR_flag == 1)
        {
            for (const auto& es : pmt.streams)
                EXPECT_EQ(m_PIDs[es.first].last_pcr, field.program_clock_reference_base * 300 * 10 / 27);
            expected.emplace_back("packet", index, pmt_PID, 0, nullptr);
            return;
        }
        count_CA(pmt.descriptors, p.PID, "ECM");
    }

    void count_CA(const mpegcore::ZQDescriptorList& list, unsigned PID, const char* name)
    {
        for (const auto& descriptor : list)
            if (descriptor->descriptor_tag == 9 && static_cast<mpegcore::CA_descriptor&>(*descriptor).CA_PID == PID)
                expected.emplace_back(name, index, 0, 0, nullptr);
    }
};

/// Few PIDs, so that they meet in every role.
class RandomMultiplex
{
public:
    explicit RandomMultiplex(unsigned seed) : m_random(seed) {}

    Bytes stream(int steps)
    {
        Stream out;
        for (int step = 0; step < steps; ++step)
            switch (below(24)) {
            case 0:
                out.section(0x0000, PAT());
                break;
            case 1:
                out.section(0x0001, zqtest::section_of(0x01, Bytes{0xFF, 0xFF, 0xC1, 0, 0} + CAs(below(4) + 1)));
                break;
            case 2:
            case 3:
            case 4:
            case 5:
                out.section(PID(), PMT());
                break;
            case 6:
            case 7:
            case 8:
                out.PCR(PID(), below(1000000), 0, start());
                break;
            case 9:
                out.packet(PID(), start(), Bytes{});
                break;
            case 10:
            case 11:
                row(out, PID(), below(5) + 1);
                break;
            default:
                out.packet(PID(), start(), Bytes(below(184) + 1, static_cast<unsigned char>(step)));
            }
        return out.data;
    }

private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    static void row(Stream& out, unsigned PID, unsigned packets)
    {
        while (packets-- != 0)
            out.packet(PID, Stream::goes_on, Bytes(184, 0xAB));
    }
    unsigned PID() { return 0x20 + below(24); }
    Stream::start start() { return below(3) == 0 ? Stream::begins : Stream::goes_on; }
    Bytes PID_bytes() { return {0xE0, static_cast<unsigned char>(PID())}; }

    Bytes PAT()
    {
        Bytes body{0, 1, 0xC1, 0, 0};
        for (unsigned count = below(9); count != 0; --count)
            body = body + Bytes{0, static_cast<unsigned char>(count)} + PID_bytes();
        return zqtest::section_of(0x00, body);
    }

    Bytes CAs(unsigned count)
    {
        Bytes loop;
        for (; count != 0; --count)
            loop = loop + Bytes{9, 4, 0x18, 0x33} + PID_bytes();
        return loop;
    }

    Bytes PMT()
    {
        const Bytes loop = CAs(below(4));
        Bytes body = Bytes{0, static_cast<unsigned char>(below(256)), 0xC1, 0, 0} + PID_bytes() +
                     Bytes{0xF0, static_cast<unsigned char>(loop.size())} + loop;
        for (unsigned count = below(6); count != 0; --count)
            body = body + Bytes{0x1B} + PID_bytes() + Bytes{0xF0, 0};
        return zqtest::section_of(0x02, body);
    }

    std::mt19937 m_random;
};

TEST(Routing, GivesTheCallbacksOfAWalkOverAllTables)
{
    std::size_t calls = 0;
    for (unsigned seed = 0; seed < zqtest::rounds(300); ++seed) {
        Walked parser;
        Bytes data = RandomMultiplex(seed).stream(400);
        parser.Process(data.data(), data.size());
        ASSERT_EQ(parser.seen, parser.expected) << seed;
        EXPECT_GT(parser.PMTs * parser.PATs * parser.CATs, 0) << seed;
        calls += parser.seen.size();
    }
    EXPECT_GT(calls, zqtest::rounds(100000));
}

TEST(Routing, GivesTheSameAgainAfterClear)
{
    Walked once, twice;
    Bytes first = RandomMultiplex(1).stream(500), second = RandomMultiplex(2).stream(500);
    once.Process(second.data(), second.size());
    twice.Process(first.data(), first.size());
    twice.Clear();
    twice.seen.clear();
    twice.expected.clear();
    twice.index = -1;
    twice.Process(second.data(), second.size());
    EXPECT_EQ(twice.seen, twice.expected);
    EXPECT_EQ(twice.seen.size(), once.seen.size());
}
} // namespace Routing_test
