// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"
#include "support/Stream.h"
#include "support/Tables.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace zqtest
{
using mpegcore::transport_packet;

/// Writes down the callbacks' names and what tells them apart, one line a callback, without the two of every packet.
class Journal : public mpegcore::CBaseMpegParser
{
public:
    using mpegcore::CBaseMpegParser::CBaseMpegParser;

    void OnPAT(mpegcore::CPAT*) override { note("PAT"); }
    void OnPMT(mpegcore::CBaseMpegProgram* program, mpegcore::CPMT* pmt) override
    {
        note("PMT " + std::to_string(program->program_number) + " " + std::to_string(pmt->program_number));
    }
    void OnCAT(mpegcore::CCAT*) override { note("CAT"); }
    void OnEIT(mpegcore::CEIT* eit) override { note("EIT " + std::to_string(eit->table_id)); }
    void OnSDT(mpegcore::CSDT*) override { note("SDT"); }
    void OnBAT(mpegcore::CBAT*) override { note("BAT"); }
    void OnNIT(mpegcore::CNIT*) override { note("NIT"); }
    void OnTDT(mpegcore::CTDT*) override { note("TDT"); }
    void OnTOT(mpegcore::CTOT*) override { note("TOT"); }
    void OnTSDT(mpegcore::CTSDT*) override { note("TSDT"); }
    void OnPES(unsigned short pmt_PID, const mpegcore::CBaseStreamTypeMap* stream, transport_packet*) override
    {
        note("PES " + std::to_string(pmt_PID) + (stream == nullptr ? " null" : ""));
    }
    void OnPES(unsigned short pmt_PID, mpegcore::CBaseStreamTypeMap*, unsigned char*, unsigned long size) override
    {
        note("PES " + std::to_string(pmt_PID) + " unit " + std::to_string(size));
    }
    void OnPES(unsigned short pmt_PID, unsigned short program_number, const mpegcore::CBaseStreamTypeMap*,
               transport_packet*) override
    {
        note("PES " + std::to_string(pmt_PID) + " program " + std::to_string(program_number));
    }
    void OnPCR(transport_packet*) override { note("PCR"); }
    void OnEMM(transport_packet*) override { note("EMM"); }
    void OnECM(transport_packet*) override { note("ECM"); }
    void OnNULL(transport_packet*) override { note("NULL"); }
    void onOtherPid(transport_packet*) override { note("other"); }
    void OnPreProcess(unsigned int number, const transport_packet& p) override
    {
        EXPECT_EQ(number, 0U);
        EXPECT_EQ(p.sync_byte, 0x47);
        ++begun;
        last = p;
    }
    void OnProcess(unsigned int number, transport_packet& p) override
    {
        EXPECT_EQ(number, 0U);
        ++ended;
        last = p;
    }

    void note(const std::string& line) { lines.push_back(line); }

    /// The lines that feeding the stream adds.
    std::vector<std::string> feed(Stream& stream)
    {
        lines.clear();
        Process(stream.data.data(), stream.data.size());
        stream.data.clear();
        return lines;
    }

    std::vector<std::string> lines;
    int begun = 0;
    int ended = 0;
    transport_packet last{};
};

/// A parser whose callbacks are written down, and the sections that it is fed with.
class ParserTest : public testing::Test
{
protected:
    using Journal = zqtest::Journal;

    static constexpr auto begins = Stream::begins;
    static constexpr auto goes_on = Stream::goes_on;

    static Bytes PAT(std::initializer_list<std::pair<unsigned, unsigned>> programs)
    {
        Bytes body{0, 1, 0xC1, 0, 0};
        for (const auto& [number, PID] : programs)
            body = body + Bytes{static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number),
                                static_cast<unsigned char>(0xE0 | PID >> 8), static_cast<unsigned char>(PID)};
        return section_of(0x00, body);
    }

    static Bytes CA(unsigned PID)
    {
        return {9, 4, 0x18, 0x33, static_cast<unsigned char>(0xE0 | PID >> 8), static_cast<unsigned char>(PID)};
    }

    static Bytes PMT(unsigned number, unsigned PCR_PID, std::initializer_list<unsigned> streams,
                     const Bytes& descriptors = {})
    {
        Bytes body{static_cast<unsigned char>(number >> 8),         static_cast<unsigned char>(number), 0xC1, 0, 0,
                   static_cast<unsigned char>(0xE0 | PCR_PID >> 8), static_cast<unsigned char>(PCR_PID)};
        body = body + zqtest::length_field(descriptors.size()) + descriptors;
        for (const unsigned PID : streams)
            body = body +
                   Bytes{0x1B, static_cast<unsigned char>(0xE0 | PID >> 8), static_cast<unsigned char>(PID), 0xF0, 0};
        return section_of(0x02, body);
    }

    std::vector<std::string> feed() { return journal.feed(stream); }

    /// One program on PMT PID 0x100 with these streams.
    void program(unsigned PCR_PID, std::initializer_list<unsigned> streams, const Bytes& descriptors = {})
    {
        stream.section(0, PAT({{1, 0x100}})).section(0x100, PMT(1, PCR_PID, streams, descriptors));
        feed();
    }

    Journal journal{true};
    Stream stream;
    Bytes payload = Bytes(184, 0xAB);
};
} // namespace zqtest
