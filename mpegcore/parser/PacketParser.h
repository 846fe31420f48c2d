// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/parser/KnownTableSet.h"
#include "mpegcore/parser/PIDMemory.h"
#include "mpegcore/parser/PIDRoutes.h"
#include "mpegcore/parser/PacketRecord.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace mpegcore
{
struct StandardSections;

/// What a CBaseMpegParser does with packets, and what it keeps for that and shows nobody. It reads the tables into that
/// parser's members, and calls its callbacks.
class PacketParser
{
public:
    /// The parser, whose m_PIDs are there already, must outlive it.
    explicit PacketParser(CBaseMpegParser& parser);
    ~PacketParser();
    PacketParser(const PacketParser&) = delete;
    PacketParser& operator=(const PacketParser&) = delete;

    /// Handles the packets that begin in front of `end`; returns where the first byte not consumed is.
    unsigned long process(unsigned char* data, unsigned long size, unsigned long end);
    /// As CBaseMpegParser::ParserData.
    bool process(transport_packet& packet);
    /// Clears the parser's tables, and all that is known of them here.
    void clear();
    /// Behind clear().
    void set_by_the_standard(bool on);
    bool is_by_the_standard() const { return m_by_the_standard; }
    /// Looks anew at how the packets of each PID are handled.
    void forget_plain() { m_routes.forget_plain(); }
    [[nodiscard]] bool add_section_PID(unsigned short PID);
    void remove_section_PID(unsigned short PID);

private:
    struct TableRow;
    template <class... Entries>
    struct TableRows;
    using Rows = parsed_tables<TableRows>;
    static constexpr unsigned short last_table_PID = 0x0014;

    static bool needs_fetching(const unsigned char* data);
    void fetch_ahead(const unsigned char* data) const;
    void process_packet(unsigned char* data);
    static void collect_plain(const PIDRoute& route, CBasePID& state, const unsigned char* data);
    void process_plain(const PIDRoute& route, CBasePID& state, unsigned char* data);
    void note_if_plain(const transport_packet& packet, std::uint32_t header);
    void handle_payload(transport_packet& packet);
    bool take_adaptation_field();
    bool pass_adaptation_field(transport_packet& packet);
    void sweep_PIDs();
    void route_packet(transport_packet& packet, CDataAccumulator* unit);
    void report(const PIDRoute& route, transport_packet& packet, CDataAccumulator* unit);
    void report_programs(const ProgramRoutes& programs, transport_packet& packet, CDataAccumulator* unit);
    void report_without_stream(unsigned short pmt_PID, const ProgramRoute& route, transport_packet& packet);

    static const TableRow* first_row(unsigned short PID);
    void follow(const CPAT& pat);
    void follow(const CCAT& cat);
    void follow(const CBaseMpegTable&) {}
    void parse_section(unsigned short PID, const TableRow* row);
    template <class Entry>
    void parse_table_anew(unsigned char* section, std::size_t size);
    template <class Entry>
    void parse_table(unsigned char* section, std::size_t size);
    template <class Entry>
    void parse_table(unsigned char* section, std::size_t size,
                     const typename KnownTables<typename Entry::Table>::Place& place);
    void parse_PMT(unsigned short PID, CBaseMpegProgram& program);
    SectionReading read_PMT(unsigned short PID, unsigned char* section, std::size_t size);

    StandardSections& standard_sections();
    void handle_by_the_standard(transport_packet& packet);
    void gather_sections(const transport_packet& packet);
    void take_section(unsigned short PID, unsigned char* section, std::size_t size);
    template <class Entry>
    void take_table(unsigned char* section, std::size_t size);
    void take_PMT(unsigned short PID, unsigned char* section, std::size_t size);
    /// To the caller. Whether it has more to say; `is_known` when the same bytes had a good CRC_32 before.
    [[nodiscard]] bool report_section(unsigned short PID, const unsigned char* section, std::size_t size,
                                      bool is_known);

    CBaseMpegParser& m_parser;
    CBasePID* const m_PIDs;
    parsed_tables<KnownTableSet> m_known;
    PIDMemory m_PID_memory;
    PIDRoutes m_routes;
    bool m_by_the_standard = false;
    std::unique_ptr<StandardSections> m_standard; ///< null until it is needed; leads to m_routes
    const FieldStores m_stores = widest_field_stores();
    AlignedRecord m_record{}; ///< of the packet being handled; clearing one for each call would cost more than the rest
};
} // namespace mpegcore
