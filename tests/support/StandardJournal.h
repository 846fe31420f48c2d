// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/ParserJournal.h"
#include "support/SectionPackets.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

/// A parser with sections by the standard whose callbacks are written down, and the tables that it is fed with.
namespace zqtest::standard
{
/// Also the sections.
class StandardJournal : public Journal
{
public:
    StandardJournal() : Journal(true) { set_sections_by_the_standard(true); }

    void OnSection(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        note("section " + std::to_string(PID) + " " + std::to_string(section[0]));
        sections.emplace_back(section, section + size);
        if (at_section)
            at_section(PID);
    }
    void OnSectionCRCFailed(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        note("CRC failed " + std::to_string(PID));
        sections.emplace_back(section, section + size);
    }

    /// The same without the lines of the sections.
    std::vector<std::string> tables(Stream& stream)
    {
        std::vector<std::string> rest;
        for (const auto& line : feed(stream))
            if (line.rfind("section", 0) != 0)
                rest.push_back(line);
        return rest;
    }

    std::vector<Bytes> sections;
    std::function<void(unsigned short)> at_section;
};

struct Listed
{
    unsigned program_number;
    unsigned PID;
};

inline Bytes versioned_section(unsigned table_id, unsigned extension, const Bytes& body, unsigned version,
                               unsigned number, unsigned last, bool current)
{
    auto section = long_section(table_id, body.size(), extension, version, number, last, current);
    std::copy(body.begin(), body.end(), section.begin() + 8);
    return with_CRC(section);
}

inline Bytes PAT(std::initializer_list<Listed> programs, unsigned version = 0, unsigned number = 0, unsigned last = 0,
                 bool current = true)
{
    Bytes body;
    for (const auto& one : programs)
        for (const unsigned byte : {one.program_number >> 8, one.program_number, 0xE0 | one.PID >> 8, one.PID})
            body.push_back(static_cast<unsigned char>(byte));
    return versioned_section(0x00, 1, body, version, number, last, current);
}

/// Streams of type 0x06, no PCR.
inline Bytes PMT(unsigned program_number, std::initializer_list<unsigned> PIDs, unsigned version = 0,
                 unsigned number = 0, unsigned last = 0, bool current = true)
{
    Bytes body{0xFF, 0xFF, 0xF0, 0x00};
    for (const unsigned PID : PIDs)
        for (const unsigned byte : {0x06U, 0xE0 | PID >> 8, PID, 0xF0U, 0x00U})
            body.push_back(static_cast<unsigned char>(byte));
    return versioned_section(0x02, program_number, body, version, number, last, current);
}

inline Bytes CAT(unsigned EMM_PID, unsigned version, unsigned number, unsigned last)
{
    return versioned_section(
        0x01, 0xFFFF,
        {0x09, 0x04, 0x01, 0x00, static_cast<unsigned char>(0xE0 | EMM_PID >> 8), static_cast<unsigned char>(EMM_PID)},
        version, number, last, true);
}

/// The PIDs among `PIDs` whose packets are reported as streams, with the programs.
inline std::vector<std::string> routes(StandardJournal& parser, Stream& stream, std::initializer_list<unsigned> PIDs)
{
    std::vector<std::string> found;
    for (const unsigned PID : PIDs) {
        stream.packet(PID, Stream::goes_on, Bytes(184));
        for (const auto& line : parser.feed(stream))
            if (line.find("program") != std::string::npos || line == "EMM")
                found.push_back(std::to_string(PID) + ": " + line);
    }
    return found;
}
} // namespace zqtest::standard
