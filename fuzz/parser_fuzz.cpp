// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is a row of records, of which the parser's stream is made: packets of chosen PIDs with the bytes of the
// record, sections with their CRC_32 put right, once or several times, raw bytes. Two parsers get it in pieces, the
// same ones for all inputs and cleared in between: what one keeps of sections that come again, the other reads anew.
// Two more do the same with sections by the standard, one of them in pieces of a size of its own.
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/CRC.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace parser_target
{
using namespace mpegcore;

void require(bool held)
{
    if (!held)
        std::abort();
}

/// Touches what it is given.
class Parser : public CBaseMpegParser
{
public:
    Parser(bool editable_tables, bool by_the_standard) : CBaseMpegParser(true)
    {
        m_editableTables = editable_tables;
        set_sections_by_the_standard(by_the_standard);
        require(add_section_PID(0x30));
    }

    void OnPreProcess(unsigned int, const transport_packet& p) override
    {
        ++begun;
        used.push_back(p.PID);
        touch(p.packet, p.packet_size);
    }
    void OnProcess(unsigned int, transport_packet& p) override
    {
        ++ended;
        require(p.payload >= p.packet + 4 && p.payload + p.payload_size <= p.packet + 188);
        touch(p.payload, p.payload_size);
    }
    void OnSection(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        require(sections_by_the_standard() && size >= 3 && size == (section[1] & 0x0FU) * 256U + section[2] + 3U);
        note(PID);
        touch(section, size);
    }
    void OnSectionCRCFailed(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        require(size < 7 || crc32_mpeg2(section, size) != 0);
        note(PID + 1U);
        touch(section, size);
    }
    void OnPAT(CPAT* t) override
    {
        require(t == m_PAT.current && m_PAT.valid == 1);
        table(*t);
    }
    void OnPMT(CBaseMpegProgram* program, CPMT* t) override
    {
        note(program->PID);
        table(*t);
        for (const auto& stream : t->streams)
            measured.push_back(stream.first);
    }
    void OnCAT(CCAT* t) override { table(*t); }
    void OnTSDT(CTSDT* t) override { table(*t); }
    void OnSDT(CSDT* t) override { table(*t); }
    void OnEIT(CEIT* t) override { table(*t); }
    void OnNIT(CNIT* t) override { table(*t); }
    void OnBAT(CBAT* t) override { table(*t); }
    void OnTOT(CTOT* t) override { table(*t); }
    void OnPES(unsigned short, CBaseStreamTypeMap* stream, unsigned char* data, unsigned long size) override
    {
        require(size != 0);
        note(stream->elementary_PID);
        touch(data, size);
    }
    void OnPES(unsigned short, const CBaseStreamTypeMap* stream, transport_packet*) override
    {
        note(stream != nullptr ? stream->stream_type : 1);
    }
    void OnPES(unsigned short, unsigned short, const CBaseStreamTypeMap* stream, transport_packet*) override
    {
        note(stream->stream_type);
    }

    /// Clear, but only for the PIDs of the last input: all 8192 would take most of the time.
    void reset()
    {
        clear_tables();
        for (const unsigned short PID : used)
            m_PIDs[PID].clear();
        for (const unsigned short PID : measured)
            m_PIDs[PID].clear();
        used.clear();
        measured.clear();
        begun = ended = sum = 0;
    }

    void note(unsigned long value) { sum = 31 * sum + value; }

    void touch(const unsigned char* data, unsigned long size)
    {
        for (unsigned long at = 0; at < size; at += 16)
            note(data[at]);
        if (size != 0)
            note(data[size - 1]);
    }

    template <class Table>
    void table(Table& t)
    {
        note(t.section_length);
        note(t.CRC_32);
        note(t.used);
        if (t.RenderTable())
            touch(t.buffer, t.used);
    }

    std::vector<unsigned short> used, measured;
    unsigned long begun = 0, ended = 0;
    unsigned long sum = 0;
};

/// The few PIDs that the records choose from.
constexpr std::array<unsigned, 16> PIDs{0x0000, 0x0001, 0x0002, 0x0010, 0x0011, 0x0012, 0x0014, 0x1FFF,
                                        0x0020, 0x0021, 0x0022, 0x0030, 0x0031, 0x0032, 0x0013, 0x1000};

class Maker
{
public:
    Maker(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size)
    {
        while (m_end - m_at >= 3)
            record();
    }

    std::vector<unsigned char> stream;

private:
    void record()
    {
        const unsigned kind = m_at[0] >> 4;
        const unsigned PID = PIDs[m_at[0] & 0x0F];
        const unsigned flags = m_at[1];
        const std::size_t size = std::min<std::size_t>(m_at[2], static_cast<std::size_t>(m_end - m_at) - 3);
        const std::uint8_t* const bytes = m_at + 3;
        m_at += 3 + size;
        if (kind == 0)
            stream.insert(stream.end(), bytes, bytes + size);
        else if (kind < 8)
            packet(PID, flags, bytes, size);
        else
            for (unsigned count = flags >> 5; count < 8; ++count)
                section(PID, flags, bytes, size);
    }

    unsigned char* append(unsigned PID, unsigned start, unsigned adaptation_field_control)
    {
        const std::size_t at = stream.size();
        stream.resize(at + 188, 0xFF);
        unsigned char* const out = stream.data() + at;
        out[0] = 0x47;
        out[1] = static_cast<unsigned char>((start != 0 ? 0x40U : 0U) | PID >> 8);
        out[2] = static_cast<unsigned char>(PID);
        out[3] = static_cast<unsigned char>(adaptation_field_control << 4 | (m_counters[PID]++ & 0x0FU));
        return out + 4;
    }

    void packet(unsigned PID, unsigned flags, const std::uint8_t* bytes, std::size_t size)
    {
        unsigned char* const out = append(PID, flags & 1U, flags >> 1 & 3U);
        std::copy_n(bytes, std::min<std::size_t>(size, 184), out);
    }

    /// `flags`: 4 bits table_id, else as the PID suggests.
    void section(unsigned PID, unsigned flags, const std::uint8_t* bytes, std::size_t size)
    {
        std::vector<unsigned char> unit{0, table_id(PID, flags), 0xB0, static_cast<unsigned char>(size + 4)};
        unit.insert(unit.end(), bytes, bytes + size);
        const std::uint32_t crc = crc32_mpeg2(unit.data() + 1, unit.size() - 1);
        for (int shift = 24; shift >= 0; shift -= 8)
            unit.push_back(static_cast<unsigned char>(crc >> shift));
        for (std::size_t at = 0; at < unit.size(); at += 184)
            std::copy_n(unit.begin() + static_cast<std::ptrdiff_t>(at), std::min<std::size_t>(184, unit.size() - at),
                        append(PID, at == 0 ? 1 : 0, 1));
    }

    static unsigned char table_id(unsigned PID, unsigned flags)
    {
        switch (PID) {
        case 0x0010:
            return static_cast<unsigned char>(0x40 + (flags & 1));
        case 0x0011:
            return (flags & 3) == 0 ? 0x42 : (flags & 3) == 1 ? 0x46 : 0x4A;
        case 0x0012:
            return static_cast<unsigned char>(0x4E + (flags & 0x1F));
        case 0x0014:
            return (flags & 1) != 0 ? 0x73 : 0x70;
        default:
            return PID < 3 ? static_cast<unsigned char>(PID) : 0x02;
        }
    }

    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
    std::array<unsigned char, 8192> m_counters{};
};

/// Process over pieces, each in a block of its size.
void feed(Parser& parser, const std::vector<unsigned char>& stream, std::size_t piece)
{
    parser.reset();
    unsigned long consumed = 0;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        const std::size_t count = std::min(piece, stream.size() - at);
        const std::unique_ptr<unsigned char[]> block(new unsigned char[count]);
        std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(at), count, block.get());
        consumed += parser.Process(block.get(), count);
    }
    require(consumed + parser.m_carry == stream.size());
    require(parser.begun == parser.ended && 188 * parser.begun <= consumed);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static auto* const parser = new Parser(false, false);
    static auto* const anew = new Parser(true, false);
    static auto* const standard = new Parser(false, true);
    static auto* const standard_anew = new Parser(true, true);
    static const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
    static_cast<void>(silent);
    if (size < 2 || size > 4096)
        return 0;
    const std::size_t piece = data[0] == 0 ? 100000 : 16U * data[0] + 1;
    const Maker made(data + 1, size - 1);
    feed(*parser, made.stream, piece);
    feed(*anew, made.stream, piece);
    require(parser->sum == anew->sum);
    feed(*standard, made.stream, piece);
    feed(*standard_anew, made.stream, made.stream.size() + 1);
    require(standard->sum == standard_anew->sum);
    return 0;
}
} // namespace parser_target
