// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/parser/TableRegistry.h"
#include "support/ByteTable.h"
#include "support/Stream.h"
#include "support/TableLines.h"
#include "support/descriptor_loops.h"
#include "support/descriptor_registry.h"

#include <memory>
#include <string>

namespace zqtest
{
/// Every table class; one that joins the registry supplies a `fill` below.
using all_tables = mpegcore::table_classes<testing::Types>;

constexpr unsigned long largest_section = 4098;

template <class Descriptor>
void append_filled(mpegcore::ZQDescriptorList& list)
{
    auto descriptor = std::make_shared<Descriptor>();
    fill(*descriptor);
    list.append(descriptor);
}

// Each fill gives every field a value of its own, in the order in which reading leaves the loops.

template <class Table>
void fill_header(Table& t, std::uint8_t table_id, std::uint8_t private_indicator)
{
    t.table_id = table_id;
    t.section_syntax_indicator = 1;
    t.private_indicator = private_indicator;
    t.CBaseMpegTable::reserved = 2;
}

template <class Table>
void fill_version(Table& t)
{
    t.version_number = 21;
    t.current_next_indicator = 1;
    t.section_number = 3;
    t.last_section_number = 7;
}

inline void fill(mpegcore::CPAT& t)
{
    fill_header(t, 0x00, 0);
    fill_version(t);
    t.transport_stream_id = 0x1234;
    t.reserved = 1;
    for (const unsigned PID : {0x0010U, 0x0100U, 0x1FFEU}) {
        auto& program = t.programs[static_cast<std::uint16_t>(PID)];
        program.program_number = static_cast<std::uint16_t>(PID == 0x10 ? 0 : PID + 1);
        program.reserved = PID & 7;
        program.PID = static_cast<std::uint16_t>(PID);
    }
}

inline void fill(mpegcore::CPMT& t)
{
    fill_header(t, 0x02, 0);
    fill_version(t);
    t.program_number = 0x4321;
    t.reserved = 2;
    t.reserved2 = 5;
    t.PCR_PID = 0x1ABC;
    t.reserved3 = 9;
    append_filled<mpegcore::CA_descriptor>(t.descriptors);
    t.program_info_length = static_cast<std::uint16_t>(t.descriptors.getSize());
    for (const unsigned PID : {0x0021U, 0x0101U}) {
        auto stream = std::make_shared<mpegcore::CBaseStreamTypeMap>();
        stream->stream_type = static_cast<std::uint8_t>(PID);
        stream->reserved = 6;
        stream->elementary_PID = static_cast<std::uint16_t>(PID);
        stream->reserved2 = 11;
        append_filled<mpegcore::ISO_639_language_descriptor>(stream->descriptors);
        append_filled<mpegcore::STD_descriptor>(stream->descriptors);
        stream->ES_info_length = static_cast<std::uint16_t>(stream->descriptors.getSize());
        t.streams[stream->elementary_PID] = stream;
    }
}

inline void fill(mpegcore::CDescriptorTable& t)
{
    fill_header(t, 0x01, 0);
    fill_version(t);
    t.reserved = 0x2F0F5;
    append_filled<mpegcore::CA_descriptor>(t.descriptors);
    append_filled<mpegcore::STD_descriptor>(t.descriptors);
}

inline void fill(mpegcore::CSDT& t)
{
    fill_header(t, 0x42, 1);
    fill_version(t);
    t.transport_stream_id = 0x1234;
    t.reserved = 1;
    t.original_network_id = 0x5678;
    t.reserved_future_use = 0xA5;
    for (const std::uint16_t id : {std::uint16_t{5}, std::uint16_t{0x0F00}}) {
        auto service = std::make_shared<mpegcore::CServiceDescriptionSection>();
        service->service_id = id;
        service->reserved_future_use = 0x2B;
        service->EIT_schedule_flag = id == 5;
        service->EIT_present_following_flag = id != 5;
        service->running_status = 4;
        service->free_CA_mode = 1;
        append_filled<mpegcore::service_descriptor>(service->descriptors);
        service->descriptors_loop_length = static_cast<std::uint16_t>(service->descriptors.getSize());
        t.services[id] = service;
    }
}

inline void fill(mpegcore::CNIT& t)
{
    fill_header(t, 0x40, 1);
    fill_version(t);
    t.network_id = 0x1234;
    t.reserved = 1;
    t.reserved_future_use = 9;
    append_filled<mpegcore::network_name_descriptor>(t.network_descriptors);
    t.network_descriptors_length = static_cast<std::uint16_t>(t.network_descriptors.getSize());
    t.reserved_future_use2 = 10;
    for (const std::uint16_t id : {std::uint16_t{7}, std::uint16_t{6}, std::uint16_t{7}}) {
        auto stream = std::make_shared<mpegcore::CBaseTransportStream>();
        stream->transport_stream_id = id;
        stream->original_network_id = 0x5678;
        stream->reserved_future_use = 11;
        append_filled<mpegcore::service_list_descriptor>(stream->descriptors);
        stream->transport_descriptors_length = static_cast<std::uint16_t>(stream->descriptors.getSize());
        t.transport_streams.push_back(stream);
    }
    t.transport_stream_loop_length = static_cast<std::uint16_t>(t.calc_transport_stream_loop_length());
}

inline void fill(mpegcore::CBAT& t)
{
    fill_header(t, 0x4A, 1);
    fill_version(t);
    t.bouquet_id = 0x1234;
    t.reserved = 1;
    t.reserved_future_use = 9;
    append_filled<mpegcore::bouquet_name_descriptor>(t.bouquet_descriptors);
    t.bouquet_descriptors_length = static_cast<std::uint16_t>(t.bouquet_descriptors.getSize());
    t.reserved_future_use2 = 10;
    for (const std::uint16_t id : {std::uint16_t{7}, std::uint16_t{6}}) {
        auto stream = std::make_shared<mpegcore::CBouquetAssociationStream>();
        stream->transport_stream_id = id;
        stream->original_network_id = 0x5678;
        stream->reserved_future_use = 11;
        t.transport_streams.push_back(stream);
    }
    t.transport_stream_loop_length = static_cast<std::uint16_t>(t.calc_transport_stream_loop_length());
}

inline void fill(mpegcore::CEIT& t)
{
    fill_header(t, 0x4E, 1);
    fill_version(t);
    t.service_id = 0x1234;
    t.reserved = 1;
    t.transport_stream_id = 0x2345;
    t.original_network_id = 0x3456;
    t.segment_last_section_number = 0x5A;
    t.last_table_id = 0x4F;
    for (const std::uint16_t id : {std::uint16_t{9}, std::uint16_t{8}}) {
        auto event = std::make_shared<mpegcore::CEventInfo>();
        event->event_id = id;
        event->start_time = 0xC079124500;
        event->duration = 0x014500;
        event->running_status = 4;
        event->free_CA_mode = 1;
        append_filled<mpegcore::short_event_descriptor>(event->descriptors);
        append_filled<mpegcore::parental_rating_descriptor>(event->descriptors);
        event->descriptors_loop_length = static_cast<std::uint16_t>(event->descriptors.getSize());
        t.events.push_back(event);
    }
}

inline void fill(mpegcore::CTDT& t)
{
    fill_header(t, 0x70, 1);
    t.section_syntax_indicator = 0;
    t.UTC_time = 0xC079124500;
}

inline void fill(mpegcore::CTOT& t)
{
    fill_header(t, 0x73, 1);
    t.section_syntax_indicator = 0;
    t.UTC_time = 0xC079124500;
    t.reserved = 13;
    append_filled<mpegcore::local_time_offset_descriptor>(t.descriptors);
    t.descriptors_loop_length = static_cast<std::uint16_t>(t.descriptors.getSize());
}

inline void fill(mpegcore::SectionVersion& version)
{
    version.version_number = 21;
    version.current_next_indicator = 1;
    version.section_number = 3;
    version.last_section_number = 7;
}

inline void fill(mpegcore::CRST& t)
{
    fill_header(t, 0x71, 1);
    t.section_syntax_indicator = 0;
    t.events = {{0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x15, 4}, {1, 2, 3, 4, 0x0A, 1}};
}

inline void fill(mpegcore::CDIT& t)
{
    fill_header(t, 0x7E, 1);
    t.section_syntax_indicator = 0;
    t.transition_flag = 1;
    t.reserved_future_use = 0x2A;
}

inline void fill(mpegcore::CSIT& t)
{
    fill_header(t, 0x7F, 1);
    fill(t.version);
    t.reserved_future_use = 0x1234;
    t.reserved = 1;
    t.reserved_future_use2 = 9;
    append_filled<mpegcore::private_data_specifier_descriptor>(t.descriptors);
    t.transmission_info_loop_length = static_cast<std::uint16_t>(t.descriptors.getSize());
    for (const std::uint16_t id : {std::uint16_t{7}, std::uint16_t{6}}) {
        auto service = std::make_shared<mpegcore::CSIT::service>();
        service->service_id = id;
        service->reserved_future_use = 1;
        service->running_status = 4;
        append_filled<mpegcore::service_descriptor>(service->descriptors);
        service->service_loop_length = static_cast<std::uint16_t>(service->descriptors.getSize());
        t.services.push_back(service);
    }
}

inline void fill(mpegcore::CAIT& t)
{
    fill_header(t, 0x74, 0);
    fill(t.version);
    t.test_application_flag = 1;
    t.application_type = 0x1234;
    t.reserved = 1;
    t.reserved_future_use = 9;
    append_filled<mpegcore::application_name_descriptor>(t.descriptors);
    t.common_descriptors_length = static_cast<std::uint16_t>(t.descriptors.getSize());
    t.reserved_future_use2 = 10;
    for (const std::uint16_t id : {std::uint16_t{7}, std::uint16_t{6}}) {
        auto one = std::make_shared<mpegcore::CAIT::application>();
        one->organisation_id = 0x12345678;
        one->application_id = id;
        one->application_control_code = 2;
        one->reserved_future_use = 11;
        append_filled<mpegcore::transport_protocol_descriptor>(one->descriptors);
        one->application_descriptors_loop_length = static_cast<std::uint16_t>(one->descriptors.getSize());
        t.application_loop_length =
            static_cast<std::uint16_t>(t.application_loop_length + 9 + one->descriptors.getSize());
        t.applications.push_back(one);
    }
}

inline void fill(mpegcore::CSpliceInfoSection& t)
{
    fill_header(t, 0xFC, 0);
    t.section_syntax_indicator = 0;
    t.encryption_algorithm = 0x2A;
    t.pts_adjustment = 0x123456789;
    t.cw_index = 0x5A;
    t.tier = 0xABC;
    t.splice_command_length = mpegcore::CSpliceInfoSection::length_not_given;
    t.splice_command_type = mpegcore::CSpliceInfoSection::splice_insert;
    t.insert.splice_event_id = 0x89ABCDEF;
    t.insert.reserved = 0x55;
    t.insert.out_of_network_indicator = 1;
    t.insert.program_splice_flag = 1;
    t.insert.duration_flag = 1;
    t.insert.reserved2 = 5;
    t.insert.splice_time = {1, 0x2A, 0x1FEDCBA98};
    t.insert.break_duration = {1, 0x15, 5400000};
    t.insert.avail = {0x1234, 1, 2};
    append_filled<mpegcore::avail_descriptor>(t.descriptors);
    t.descriptor_loop_length = static_cast<std::uint16_t>(t.descriptors.getSize());
    t.alignment_stuffing = {0xFF, 0x5A};
}

/// Gives a table what Clear leaves in another and what says which fields there are.
inline void put_kind(const mpegcore::CBaseMpegTable& /*from*/, mpegcore::CBaseMpegTable& /*to*/) {}
inline void put_kind(const mpegcore::CSpliceInfoSection& from, mpegcore::CSpliceInfoSection& to)
{
    to.splice_command_length = from.splice_command_length;
    to.splice_command_type = from.splice_command_type;
}

template <class Table>
bool read(Table& table, const Bytes& bytes)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    return table.read(reader);
}

/// A table of this class with room for the longest section.
template <class Table>
class Roomy : public Table
{
public:
    Roomy() : Table(nullptr, largest_section) {}
};

/// `value` in 2 bytes, of which `high` are the high 4 bits.
inline Bytes length_field(std::size_t value, unsigned high = 0xF)
{
    return {static_cast<unsigned char>(high << 4 | value >> 8), static_cast<unsigned char>(value)};
}
} // namespace zqtest
