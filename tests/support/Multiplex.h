// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/EIT.h"
#include "mpegcore/NIT.h"
#include "mpegcore/PAT.h"
#include "mpegcore/PMT.h"
#include "mpegcore/SDT.h"
#include "mpegcore/TDT.h"
#include "mpegcore/TOT.h"
#include "support/Stream.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zqtest
{
/// A generated multiplex: programmes of one video and two audio streams with PES headers, and their PSI and SI.
class Multiplex
{
public:
    explicit Multiplex(unsigned programmes, unsigned seed = 1) : m_programmes(programmes), m_random(seed) {}

    static unsigned PMT_PID(unsigned programme) { return 0x0100 + 16 * programme; }
    static unsigned video_PID(unsigned programme) { return PMT_PID(programme) + 1; }
    static unsigned audio_PID(unsigned programme, unsigned track) { return PMT_PID(programme) + 2 + track; }

    Bytes PAT() const
    {
        mpegcore::CPAT table(nullptr, 4098);
        long_header(table, 0x00, 0);
        table.transport_stream_id = 1;
        for (unsigned at = 0; at < m_programmes; ++at) {
            auto& entry = table.programs[static_cast<std::uint16_t>(PMT_PID(at))];
            entry.program_number = static_cast<std::uint16_t>(at + 1);
            entry.reserved = 7;
            entry.PID = static_cast<std::uint16_t>(PMT_PID(at));
        }
        return rendered(table);
    }

    Bytes PMT(unsigned programme) const
    {
        mpegcore::CPMT table(nullptr, 4098);
        long_header(table, 0x02, 0);
        table.program_number = static_cast<std::uint16_t>(programme + 1);
        table.reserved2 = 7;
        table.reserved3 = 15;
        table.PCR_PID = static_cast<std::uint16_t>(video_PID(programme));
        add_stream(table, 0x1B, video_PID(programme), false);
        add_stream(table, 0x03, audio_PID(programme, 0), true);
        add_stream(table, 0x03, audio_PID(programme, 1), true);
        return rendered(table);
    }

    Bytes NIT() const
    {
        mpegcore::CNIT table(nullptr, 4098);
        long_header(table, 0x40, 1);
        table.network_id = 1;
        table.reserved_future_use = table.reserved_future_use2 = 15;
        auto stream = std::make_shared<mpegcore::CBaseTransportStream>();
        stream->transport_stream_id = stream->original_network_id = 1;
        stream->reserved_future_use = 15;
        auto list = std::make_shared<mpegcore::service_list_descriptor>();
        list->descriptor_length = static_cast<std::uint8_t>(3 * m_programmes);
        for (unsigned at = 0; at < m_programmes; ++at) {
            auto& entry = list->entries.emplace_back();
            entry.service_id = static_cast<std::uint16_t>(at + 1);
            entry.service_type = 1;
        }
        stream->descriptors.append(list);
        table.transport_streams.push_back(stream);
        return rendered(table);
    }

    /// As many sections as the services need, 10 to a section.
    std::vector<Bytes> SDT() const
    {
        std::vector<Bytes> sections;
        for (unsigned first = 0; first < m_programmes; first += 10) {
            mpegcore::CSDT table(nullptr, 4098);
            long_header(table, 0x42, 1);
            table.transport_stream_id = table.original_network_id = 1;
            table.reserved_future_use = 0xFF;
            table.section_number = static_cast<std::uint8_t>(first / 10);
            table.last_section_number = static_cast<std::uint8_t>((m_programmes - 1) / 10);
            for (unsigned at = first; at < std::min(first + 10, m_programmes); ++at)
                add_service(table, at);
            sections.push_back(rendered(table));
        }
        return sections;
    }

    /// `events` events in one of the sections 0 to `last_section`.
    Bytes EIT(unsigned programme, std::uint8_t table_id, unsigned section, unsigned last_section, unsigned events,
              unsigned version = 0)
    {
        mpegcore::CEIT table(nullptr, 4098);
        long_header(table, table_id, 1);
        table.version_number = static_cast<std::uint8_t>(version & 31);
        table.service_id = static_cast<std::uint16_t>(programme + 1);
        table.transport_stream_id = table.original_network_id = 1;
        table.section_number = static_cast<std::uint8_t>(section);
        table.last_section_number = table.segment_last_section_number = static_cast<std::uint8_t>(last_section);
        table.last_table_id = table_id;
        for (unsigned at = 0; at < events; ++at)
            table.events.push_back(event(section * 16 + at, programme + 1 + 100 * version));
        return rendered(table);
    }

    Bytes TDT() const
    {
        mpegcore::CTDT table(0xC079124500, nullptr, 8);
        return rendered(table);
    }

    /// A PES packet (ISO/IEC 13818-1, 2.4.3.6) of `size` bytes of random payload.
    Bytes PES(unsigned char stream_id, std::uint64_t PTS, std::size_t size)
    {
        const std::size_t length = size + 8;
        Bytes bytes{0,
                    0,
                    1,
                    stream_id,
                    static_cast<unsigned char>(length > 0xFFFF ? 0 : length >> 8),
                    static_cast<unsigned char>(length > 0xFFFF ? 0 : length),
                    0x80,
                    0x80,
                    5,
                    static_cast<unsigned char>(0x21 | (PTS >> 29 & 0x0E)),
                    static_cast<unsigned char>(PTS >> 22),
                    static_cast<unsigned char>(PTS >> 14 | 1),
                    static_cast<unsigned char>(PTS >> 7),
                    static_cast<unsigned char>(PTS << 1 | 1)};
        bytes.reserve(bytes.size() + size);
        for (std::size_t at = 0; at < size; ++at)
            bytes.push_back(static_cast<unsigned char>(m_random()));
        return bytes;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    template <class Table>
    static void long_header(Table& table, std::uint8_t table_id, std::uint8_t private_indicator)
    {
        table.table_id = table_id;
        table.section_syntax_indicator = 1;
        table.private_indicator = private_indicator;
        table.CBaseMpegTable::reserved = 3;
        table.reserved = 3;
        table.current_next_indicator = 1;
    }

    static void add_stream(mpegcore::CPMT& table, std::uint8_t type, unsigned PID, bool with_language)
    {
        auto stream = std::make_shared<mpegcore::CBaseStreamTypeMap>();
        stream->stream_type = type;
        stream->reserved = 7;
        stream->reserved2 = 15;
        stream->elementary_PID = static_cast<std::uint16_t>(PID);
        auto tag = std::make_shared<mpegcore::stream_identifier_descriptor>();
        tag->descriptor_length = 1;
        tag->component_tag = static_cast<std::uint8_t>(PID);
        stream->descriptors.append(tag);
        if (with_language) {
            auto language = std::make_shared<mpegcore::ISO_639_language_descriptor>();
            language->descriptor_length = 4;
            language->entries.emplace_back().ISO_639_language_code = {'e', 'n', 'g'};
            stream->descriptors.append(language);
        }
        table.streams[stream->elementary_PID] = stream;
    }

    static void add_service(mpegcore::CSDT& table, unsigned programme)
    {
        auto service = std::make_shared<mpegcore::CServiceDescriptionSection>();
        service->service_id = static_cast<std::uint16_t>(programme + 1);
        service->reserved_future_use = 63;
        service->EIT_schedule_flag = service->EIT_present_following_flag = 1;
        service->running_status = 4;
        const std::string provider = "Provider", name = "Programme " + std::to_string(programme + 1);
        auto text = std::make_shared<mpegcore::service_descriptor>();
        text->service_type = 1;
        text->service_provider_name_length = static_cast<std::uint8_t>(provider.size());
        std::copy(provider.begin(), provider.end(), text->service_provider_name.begin());
        text->service_name_length = static_cast<std::uint8_t>(name.size());
        std::copy(name.begin(), name.end(), text->service_name.begin());
        text->descriptor_length = static_cast<std::uint8_t>(3 + provider.size() + name.size());
        service->descriptors.append(text);
        table.services[service->service_id] = service;
    }

    /// Events of the same number and story are the same.
    static std::shared_ptr<mpegcore::CEventInfo> event(unsigned number, unsigned story)
    {
        auto info = std::make_shared<mpegcore::CEventInfo>();
        info->event_id = static_cast<std::uint16_t>(number);
        info->start_time = mpegcore::CEventInfo::time_t_to_start_time(1700000000 + 1800 * static_cast<long>(number));
        info->duration = mpegcore::CEventInfo::sec_to_duration(1800);
        info->running_status = 1;
        const std::string name = "Event " + std::to_string(number), about(60 + story * (number + 7) % 120, 'x');
        auto brief = std::make_shared<mpegcore::short_event_descriptor>();
        brief->ISO_639_language_code = {'e', 'n', 'g'};
        brief->event_name_length = static_cast<std::uint8_t>(name.size());
        std::copy(name.begin(), name.end(), brief->event_name_char.begin());
        brief->text_length = static_cast<std::uint8_t>(about.size());
        std::copy(about.begin(), about.end(), brief->text_char.begin());
        brief->descriptor_length = static_cast<std::uint8_t>(5 + name.size() + about.size());
        info->descriptors.append(brief);
        auto rating = std::make_shared<mpegcore::parental_rating_descriptor>();
        rating->descriptor_length = 4;
        rating->entries.emplace_back().country_code = {'G', 'B', 'R'};
        info->descriptors.append(rating);
        info->descriptors_loop_length = static_cast<std::uint16_t>(info->descriptors.getSize());
        return info;
    }

    unsigned m_programmes;
    std::mt19937 m_random;
};
} // namespace zqtest
