// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/BuiltTables.h"

#include <string>
#include <utility>
#include <vector>

/// Streams of the kinds that are recorded, so that a machine without recordings tests them too.
namespace zqtest
{
/// Only the tables of a terrestrial multiplex, most of them over several packets.
inline BuiltStream terrestrial_tables()
{
    BuiltStream stream(184);
    stream.EIT_packet_of_no_unit();
    for (unsigned round = 0; round < 12; ++round) {
        Roomy<mpegcore::CPAT> pat;
        built::set_programs(pat, 0, {0x0010, 0x0100, 0x0110, 0x0120});
        stream.table(0x0000, "OnPAT", pat);
        for (const unsigned table_id : {0x42U, 0x46U}) {
            Roomy<mpegcore::CSDT> sdt;
            built::set_services(sdt, table_id, 3 + round % 4 * 9);
            stream.table(0x0011, "OnSDT", sdt);
        }
        Roomy<mpegcore::CNIT> nit;
        built::set_network<mpegcore::logical_channel_descriptor>(nit, 0x40, 0x3101, 1 + round % 3 * 30);
        stream.table(0x0010, "OnNIT", nit);
        for (const unsigned table_id : {0x4EU, 0x4FU, 0x50U, 0x57U, 0x60U, 0x6FU})
            for (unsigned service = 1; service <= 3; ++service) {
                Roomy<mpegcore::CEIT> eit;
                built::set_events(eit, stream, table_id, service, table_id < 0x50 ? 1 : stream.below(12));
                stream.table_in_short_payloads(0x0012, "OnEIT", eit);
            }
        mpegcore::CTDT tdt(0xC079124500 + round, nullptr, 8);
        stream.table(0x0014, "OnTDT", tdt);
        Roomy<mpegcore::CTOT> tot;
        fill(tot);
        tot.UTC_time += round;
        stream.table(0x0014, "OnTOT", tot);
    }
    return stream;
}

/// A scrambled satellite multiplex: a PAT that comes late, conditional access, sections back to back, packets with
/// transport_error_indicator.
inline BuiltStream scrambled_satellite()
{
    BuiltStream stream(11);
    for (unsigned count = 0; count < 500; ++count)
        stream.other(0x0100 + stream.below(20), false);
    Roomy<mpegcore::CPAT> pat;
    built::set_programs(pat, 4, {0x0200, 0x0210});
    stream.table(0x0000, "OnPAT", pat);
    stream.set_transport_error_indicator();
    Roomy<mpegcore::CCAT> cat;
    fill(cat);
    cat.descriptors.clear();
    built::add_CA(cat.descriptors, 0x0301);
    built::add_CA(cat.descriptors, 0x0302);
    stream.table(0x0001, "OnCAT", cat);
    for (const unsigned at : {0U, 1U}) {
        Roomy<mpegcore::CPMT> pmt;
        built::set_program(pmt, at + 1, 0x1FFF);
        built::add_CA(pmt.descriptors, 0x0310 + at);
        built::set_stream<mpegcore::video_stream_descriptor>(pmt, 0x02, 0x0401 + 16 * at);
        built::set_stream<mpegcore::ISO_639_language_descriptor>(pmt, 0x04, 0x0402 + 16 * at);
        stream.table(0x0200 + 16 * at, "OnPMT", pmt, built::of_program(at + 1));
    }
    for (unsigned round = 0; round < 40; ++round) {
        stream.elementary(0x0401 + 16 * (round & 1), 2000 + stream.below(4000), true);
        stream.elementary(0x0402 + 16 * (round & 1), 300 + stream.below(500), true);
        stream.access(0x0301 + (round & 1), "OnEMM");
        stream.access(0x0310 + (round & 1), "OnECM");
        stream.other(0x0700, true);
        Roomy<mpegcore::CEIT> first, second, third;
        built::set_events(first, stream, 0x4E, round, 2);
        built::set_events(second, stream, 0x4F, round, 1 + stream.below(4));
        built::set_events(third, stream, 0x50, round, 4);
        const Bytes last = rendered(third);
        // The third goes on behind the pointer_field of the next unit.
        const std::size_t cut = 1 + stream.below(180);
        stream.back_to_back(0x0012, "OnEIT", first,
                            rendered(second) + Bytes(last.begin(), last.end() - static_cast<std::ptrdiff_t>(cut)));
        stream.section_behind_pointer_field(0x0012, Bytes(last.end() - static_cast<std::ptrdiff_t>(cut), last.end()),
                                            rendered(first));
        Roomy<mpegcore::CBAT> bat;
        fill(bat);
        stream.table(0x0011, "OnBAT", bat);
        Roomy<mpegcore::CNIT> nit;
        built::set_network<mpegcore::service_list_descriptor>(nit, 0x41, 0x2000 + round, 20);
        stream.table(0x0010, "OnNIT", nit);
    }
    return stream;
}

/// A PMT with teletext and VBI data, and many small PES units.
inline BuiltStream teletext_and_VBI()
{
    BuiltStream stream(12);
    for (unsigned round = 0; round < 30; ++round) {
        Roomy<mpegcore::CPAT> pat;
        built::set_programs(pat, 0, {0x0100});
        stream.table(0x0000, "OnPAT", pat);
        Roomy<mpegcore::CPMT> pmt;
        built::set_program(pmt, 1, 0x1FFF);
        built::set_stream<mpegcore::teletext_descriptor, mpegcore::VBI_data_descriptor>(pmt, 0x06, 0x0101);
        built::set_stream<mpegcore::subtitling_descriptor, mpegcore::ac3_descriptor>(pmt, 0x06, 0x0102);
        stream.table(0x0100, "OnPMT", pmt, built::of_program(1));
        for (unsigned unit = 0; unit < 20; ++unit)
            stream.elementary(0x0101 + stream.below(2), 1 + stream.below(400));
    }
    return stream;
}

/// Nearly all null packets, among them tables that change, and PMTs before the PAT.
inline BuiltStream changing_tables()
{
    BuiltStream stream(103);
    for (unsigned version = 0; version < 20; ++version) {
        Roomy<mpegcore::CPMT> pmt;
        built::set_program(pmt, 1, 0x1FFF);
        built::set_stream<>(pmt, 0x1B, 0x0300 + version);
        if (version == 0)
            stream.other(0x0100, false, Stream::begins); // a PMT for which there is no PAT
        stream.null(50 + stream.below(100));
        Roomy<mpegcore::CPAT> pat;
        built::set_programs(pat, version, {0x0100, 0x0101 + version});
        stream.table(0x0000, "OnPAT", pat);
        built::with_version(pmt, version);
        stream.table(0x0100, "OnPMT", pmt, built::of_program(1));
        Roomy<mpegcore::CNIT> nit;
        built::set_network<mpegcore::logical_channel_descriptor>(nit, 0x40, 7, 1 + version);
        stream.table(0x0010, "OnNIT", built::with_version(nit, version));
        stream.null(stream.below(30));
        Roomy<mpegcore::CSDT> sdt;
        built::set_services(sdt, 0x42, 1 + version % 5);
        stream.table(0x0011, "OnSDT", built::with_version(sdt, version));
        Roomy<mpegcore::CCAT> cat;
        fill(cat);
        stream.table(0x0001, "OnCAT", built::with_version(cat, version));
        mpegcore::CTDT tdt(0xC079124500 + version, nullptr, 8);
        stream.table(0x0014, "OnTDT", tdt);
    }
    return stream;
}

/// A PCR on a PID of its own, by which bit rates are measured, large video units, a second table on the PMT's PID.
inline BuiltStream PCR_on_its_own_PID()
{
    BuiltStream stream(139);
    const std::vector<unsigned> streams{0x1011, 0x1100};
    for (unsigned round = 0; round < 6; ++round) {
        Roomy<mpegcore::CPAT> pat;
        built::set_programs(pat, 0, {0x0100});
        stream.table(0x0000, "OnPAT", pat);
        Roomy<mpegcore::CPMT> pmt;
        built::set_program(pmt, 1, 0x1001);
        built::set_stream<>(pmt, 0x1B, 0x1011);
        built::set_stream<mpegcore::ac3_descriptor>(pmt, 0x81, 0x1100);
        stream.table(0x0100, "OnPMT", pmt, built::of_program(1));
        Roomy<mpegcore::CTSDT> second;
        fill(second);
        second.table_id = 0xC0;
        stream.unreported(0x0100, rendered(second));
        stream.elementary(0x1011, 30000 + stream.below(120000));
        for (unsigned unit = 0; unit < 5; ++unit)
            stream.elementary(0x1100, 1000 + stream.below(1000));
        stream.PCR_of_its_own(0x1001, 1 + round % 2, streams);
    }
    return stream;
}

/// All tables and all descriptors, in payloads of many sizes, and splice sections on a PID of a programme.
inline BuiltStream all_tables_and_descriptors()
{
    using namespace mpegcore;
    BuiltStream stream(1);
    Roomy<CPAT> pat;
    built::set_programs(pat, 0, {0x0010, 0x0100});
    stream.table(0x0000, "OnPAT", pat);
    Roomy<CPMT> pmt;
    built::set_program(pmt, 2, 0x1FFF);
    append_filled<CA_descriptor>(pmt.descriptors);
    append_filled<cue_identifier_descriptor>(pmt.descriptors);
    append_filled<multiplex_buffer_utilization_descriptor>(pmt.descriptors);
    built::set_stream<video_stream_descriptor, STD_descriptor, smoothing_buffer_descriptor>(pmt, 0x02, 0x0201);
    built::set_stream<audio_stream_descriptor, ISO_639_language_descriptor>(pmt, 0x03, 0x0202);
    built::set_stream<teletext_descriptor, VBI_data_descriptor, subtitling_descriptor>(pmt, 0x06, 0x0203);
    built::set_stream<ac3_descriptor, stream_identifier_descriptor>(pmt, 0x06, 0x0204);
    built::set_stream<avail_descriptor>(pmt, 0x86, 0x0E86);
    Bytes splice_descriptors;
    for (const auto& bytes : {built::filled_bytes<avail_descriptor>(), built::filled_bytes<scte35_dtmf_descriptor>(),
                              built::filled_bytes<scte35_segmentation_descriptor>()})
        splice_descriptors = splice_descriptors + bytes;
    for (unsigned round = 0; round < 10; ++round) {
        stream.table_in_short_payloads(0x0100, "OnPMT", built::with_version(pmt, round), built::of_program(2));
        Roomy<CCAT> cat;
        fill(cat);
        stream.table_in_short_payloads(0x0001, "OnCAT", cat);
        Roomy<CTSDT> tsdt;
        fill(tsdt);
        tsdt.table_id = 0x03;
        stream.table_in_short_payloads(0x0002, "OnTSDT", tsdt);
        Roomy<CNIT> nit;
        built::set_network<T2_delivery_system_descriptor>(nit, 0x41, 32343, 1);
        append_filled<extension_descriptor>(nit.network_descriptors);
        stream.table_in_short_payloads(0x0010, "OnNIT", nit);
        Roomy<CBAT> bat;
        fill(bat);
        append_filled<service_list_descriptor>(bat.bouquet_descriptors);
        stream.table_in_short_payloads(0x0011, "OnBAT", bat);
        Roomy<CSDT> sdt;
        built::set_services(sdt, 0x42, 4);
        stream.table_in_short_payloads(0x0011, "OnSDT", sdt);
        Roomy<CEIT> eit;
        built::set_events(eit, stream, 0x4E, round, 2);
        stream.table_in_short_payloads(0x0012, "OnEIT", eit);
        CTDT tdt(0xC079124500 + round, nullptr, 8);
        stream.table(0x0014, "OnTDT", tdt);
        Roomy<CTOT> tot;
        fill(tot);
        stream.table_in_short_payloads(0x0014, "OnTOT", tot);
        stream.elementary(0x0E86, built::splice_unit(splice_descriptors));
        stream.null(5);
    }
    return stream;
}

inline std::vector<std::pair<std::string, BuiltStream>> built_streams()
{
    return {{"terrestrial_tables", terrestrial_tables()}, {"scrambled_satellite", scrambled_satellite()},
            {"teletext_and_VBI", teletext_and_VBI()},     {"changing_tables", changing_tables()},
            {"PCR_on_its_own_PID", PCR_on_its_own_PID()}, {"all_tables_and_descriptors", all_tables_and_descriptors()}};
}
} // namespace zqtest
