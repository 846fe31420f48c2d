// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/BuiltStream.h"

#include <memory>
#include <string>
#include <vector>

/// The tables that built streams consist of.
namespace zqtest::built
{
template <class Table>
Table& with_version(Table& t, unsigned version, unsigned section = 0, unsigned last_section = 0)
{
    t.version_number = static_cast<std::uint8_t>(version & 31);
    t.section_number = static_cast<std::uint8_t>(section);
    t.last_section_number = static_cast<std::uint8_t>(last_section);
    return t;
}

inline void set_programs(mpegcore::CPAT& t, unsigned version, const std::vector<unsigned>& PMT_PIDs)
{
    fill(t);
    with_version(t, version);
    t.programs.clear();
    for (std::size_t at = 0; at < PMT_PIDs.size(); ++at) {
        auto& program = t.programs[static_cast<std::uint16_t>(PMT_PIDs[at])];
        program.program_number = static_cast<std::uint16_t>(PMT_PIDs[at] == 0x10 ? 0 : at + 1);
        program.PID = static_cast<std::uint16_t>(PMT_PIDs[at]);
    }
}

inline std::shared_ptr<mpegcore::CBaseStreamTypeMap> stream_of(unsigned stream_type, unsigned PID)
{
    auto stream = std::make_shared<mpegcore::CBaseStreamTypeMap>();
    stream->stream_type = static_cast<std::uint8_t>(stream_type);
    stream->elementary_PID = static_cast<std::uint16_t>(PID);
    return stream;
}

template <class... Descriptors>
void set_stream(mpegcore::CPMT& t, unsigned stream_type, unsigned PID)
{
    const auto stream = stream_of(stream_type, PID);
    (append_filled<Descriptors>(stream->descriptors), ...);
    t.streams[stream->elementary_PID] = stream;
}

inline void add_CA(mpegcore::ZQDescriptorList& list, unsigned PID)
{
    auto descriptor = std::make_shared<mpegcore::CA_descriptor>();
    fill(*descriptor);
    descriptor->CA_PID = static_cast<std::uint16_t>(PID);
    list.append(descriptor);
}

/// One without descriptors and streams.
inline void set_program(mpegcore::CPMT& t, unsigned program_number, unsigned PCR_PID)
{
    fill(t);
    with_version(t, 0);
    t.program_number = static_cast<std::uint16_t>(program_number);
    t.PCR_PID = static_cast<std::uint16_t>(PCR_PID);
    t.descriptors.clear();
    t.streams.clear();
}

inline void set_events(mpegcore::CEIT& t, BuiltStream& built, unsigned table_id, unsigned service, unsigned events)
{
    fill(t);
    with_version(t, built.below(32), built.below(8), 7);
    t.table_id = t.last_table_id = static_cast<std::uint8_t>(table_id);
    t.service_id = static_cast<std::uint16_t>(service);
    t.events.clear();
    for (; events != 0; --events) {
        auto event = std::make_shared<mpegcore::CEventInfo>();
        event->event_id = static_cast<std::uint16_t>(built.below(0x10000));
        event->start_time = mpegcore::CEventInfo::time_t_to_start_time(1700000000 + built.below(10000000));
        event->duration = mpegcore::CEventInfo::sec_to_duration(built.below(360000));
        event->running_status = static_cast<std::uint8_t>(built.below(8));
        event->free_CA_mode = static_cast<std::uint8_t>(built.below(2));
        append_filled<mpegcore::short_event_descriptor>(event->descriptors);
        append_filled<mpegcore::extended_event_descriptor>(event->descriptors);
        append_filled<mpegcore::parental_rating_descriptor>(event->descriptors);
        event->descriptors_loop_length = static_cast<std::uint16_t>(event->descriptors.getSize());
        t.events.push_back(event);
    }
}

/// With as many transport streams as fit, each with one Descriptor.
template <class Descriptor>
void set_network(mpegcore::CNIT& t, unsigned table_id, unsigned network_id, unsigned streams)
{
    fill(t);
    t.table_id = static_cast<std::uint8_t>(table_id);
    t.network_id = static_cast<std::uint16_t>(network_id);
    t.transport_streams.clear();
    for (; streams != 0; --streams) {
        auto stream = std::make_shared<mpegcore::CBaseTransportStream>();
        stream->transport_stream_id = static_cast<std::uint16_t>(streams);
        stream->original_network_id = 1;
        append_filled<Descriptor>(stream->descriptors);
        stream->transport_descriptors_length = static_cast<std::uint16_t>(stream->descriptors.getSize());
        t.transport_streams.push_back(stream);
    }
    t.transport_stream_loop_length = static_cast<std::uint16_t>(t.calc_transport_stream_loop_length());
}

inline void set_services(mpegcore::CSDT& t, unsigned table_id, unsigned services)
{
    fill(t);
    t.table_id = static_cast<std::uint8_t>(table_id);
    t.services.clear();
    for (; services != 0; --services) {
        auto service = std::make_shared<mpegcore::CServiceDescriptionSection>();
        service->service_id = static_cast<std::uint16_t>(services);
        service->running_status = services & 7;
        append_filled<mpegcore::service_descriptor>(service->descriptors);
        service->descriptors_loop_length = static_cast<std::uint16_t>(service->descriptors.getSize());
        t.services[service->service_id] = service;
    }
}

template <class Descriptor>
Bytes filled_bytes()
{
    Descriptor descriptor;
    fill(descriptor);
    return written(descriptor);
}

/// A splice_info_section (SCTE 35, 9.6) with a splice_null and these descriptors, in a payload unit.
inline Bytes splice_unit(const Bytes& descriptors)
{
    const Bytes body =
        Bytes{0, 0, 0, 0, 0, 0, 0, 0xFF, 0xF0, 0, 0x00} +
        Bytes{static_cast<unsigned char>(descriptors.size() >> 8), static_cast<unsigned char>(descriptors.size())} +
        descriptors;
    return Bytes{0} + section_of(0xFC, body, 0x3);
}

inline std::string of_program(unsigned program_number) { return formatted("pat_program=%u ", program_number); }
} // namespace zqtest::built
