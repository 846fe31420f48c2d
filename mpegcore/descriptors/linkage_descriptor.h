// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Where more to a service, event or network is found: ETSI EN 300 468, 6.2.19.
/// Links of other types keep their own structure in private_data_byte.
class linkage_descriptor : public standard_descriptor<linkage_descriptor, 0x4A>
{
public:
    /// linkage_type 0x08.
    struct mobile_hand_over
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(4, "hand-over_type", d.hand_over_type) &&
                   io.bits(3, "reserved_future_use", d.reserved_future_use) &&
                   io.bits(1, "origin_type", d.origin_type) &&
                   (d.hand_over_type == 0 || d.hand_over_type > 3 || io.bits(16, "network_id", d.network_id)) &&
                   (d.origin_type != 0 || io.bits(16, "initial_service_id", d.initial_service_id));
        }

        std::uint8_t hand_over_type = 0;
        std::uint8_t reserved_future_use = 0;
        /// 0 NIT, 1 SDT.
        std::uint8_t origin_type = 0;
        /// When hand_over_type is 1, 2 or 3.
        std::uint16_t network_id = 0;
        /// When origin_type is 0.
        std::uint16_t initial_service_id = 0;
    };

    /// One entry of linkage_type 0x09, software update: ETSI TS 102 006, 6.1.
    struct software_update
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(24, "OUI", d.OUI) && io.data(8, "selector", d.selector_length, d.selector);
        }

        /// Of the maker of the receivers.
        std::uint32_t OUI = 0;
        std::uint8_t selector_length = 0;
        std::vector<unsigned char> selector;
    };

    struct platform_name
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("ISO_639_language_code", d.ISO_639_language_code) &&
                   io.text(8, "platform_name", d.platform_name_length, d.platform_name);
        }

        std::array<unsigned char, 3> ISO_639_language_code{};
        std::uint8_t platform_name_length = 0;
        /// As transmitted, with the leading bytes that choose the character table (Annex A).
        std::vector<unsigned char> platform_name;
    };

    /// One entry of linkage_type 0x0B, IP/MAC notification: ETSI EN 301 192, 8.2.1.
    struct platform
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(24, "platform_id", d.platform_id) &&
                   io.bits(8, "platform_name_loop_length", d.platform_name_loop_length) &&
                   io.exactly(d.platform_name_loop_length, [&] { return io.entries(4, "names", d.names); });
        }

        std::uint32_t platform_id = 0;
        /// Bytes that the entries behind it take.
        std::uint8_t platform_name_loop_length = 0;
        std::vector<platform_name> names;
    };

    /// linkage_type 0x0D.
    struct event_linkage
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "target_event_id", d.target_event_id) && io.bits(1, "target_listed", d.target_listed) &&
                   io.bits(1, "event_simulcast", d.event_simulcast) &&
                   io.bits(6, "reserved_future_use", d.reserved_future_use);
        }

        std::uint16_t target_event_id = 0;
        std::uint8_t target_listed = 0;
        std::uint8_t event_simulcast = 0;
        std::uint8_t reserved_future_use = 0;
    };

    /// One entry of the linkage_types 0x0E to 0x1F.
    struct extended_event_linkage
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "target_event_id", d.target_event_id) && io.bits(1, "target_listed", d.target_listed) &&
                   io.bits(1, "event_simulcast", d.event_simulcast) && io.bits(2, "link_type", d.link_type) &&
                   io.bits(2, "target_id_type", d.target_id_type) &&
                   io.bits(1, "original_network_id_flag", d.original_network_id_flag) &&
                   io.bits(1, "service_id_flag", d.service_id_flag) &&
                   (d.target_id_type != 3 || io.bits(16, "user_defined_id", d.user_defined_id)) &&
                   (d.target_id_type != 1 || io.bits(16, "target_transport_stream_id", d.target_transport_stream_id)) &&
                   (d.target_id_type == 3 || d.original_network_id_flag == 0 ||
                    io.bits(16, "target_original_network_id", d.target_original_network_id)) &&
                   (d.target_id_type == 3 || d.service_id_flag == 0 ||
                    io.bits(16, "target_service_id", d.target_service_id));
        }

        std::uint16_t target_event_id = 0;
        std::uint8_t target_listed = 0;
        std::uint8_t event_simulcast = 0;
        std::uint8_t link_type = 0;
        std::uint8_t target_id_type = 0;
        std::uint8_t original_network_id_flag = 0;
        std::uint8_t service_id_flag = 0;
        /// When target_id_type is 3, and else those behind it.
        std::uint16_t user_defined_id = 0;
        /// When target_id_type is 1.
        std::uint16_t target_transport_stream_id = 0;
        std::uint16_t target_original_network_id = 0;
        std::uint16_t target_service_id = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(16, "transport_stream_id", d.transport_stream_id) &&
               io.bits(16, "original_network_id", d.original_network_id) && io.bits(16, "service_id", d.service_id) &&
               io.bits(8, "linkage_type", d.linkage_type) && structure_of_the_type(d, io) &&
               io.rest("private_data_byte", d.private_data_byte);
    }

    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint16_t service_id = 0;
    std::uint8_t linkage_type = 0;
    mobile_hand_over hand_over;
    /// Bytes that the entries behind it take.
    std::uint8_t OUI_data_length = 0;
    std::vector<software_update> software_updates;
    /// When linkage_type is 0x0A or 0x0C: in which table that multiplex has its links, 1 NIT, 2 BAT.
    std::uint8_t table_type = 0;
    /// When linkage_type is 0x0C and table_type 2.
    std::uint16_t bouquet_id = 0;
    /// Bytes that the entries behind it take.
    std::uint8_t platform_id_data_length = 0;
    std::vector<platform> platforms;
    event_linkage event;
    /// Bytes that the entries behind it take.
    std::uint8_t loop_length = 0;
    std::vector<extended_event_linkage> events;
    std::vector<unsigned char> private_data_byte;

private:
    template <class Self, class Io>
    static bool structure_of_the_type(Self& d, Io& io)
    {
        switch (d.linkage_type) {
        case 0x08:
            return io.entry("hand_over", d.hand_over);
        case 0x09:
            return io.bits(8, "OUI_data_length", d.OUI_data_length) &&
                   io.exactly(d.OUI_data_length, [&] { return io.entries(4, "software_updates", d.software_updates); });
        case 0x0A:
            return io.bits(8, "table_type", d.table_type);
        case 0x0B:
            return io.bits(8, "platform_id_data_length", d.platform_id_data_length) &&
                   io.exactly(d.platform_id_data_length, [&] { return io.entries(4, "platforms", d.platforms); });
        case 0x0C:
            return io.bits(8, "table_type", d.table_type) &&
                   (d.table_type != 2 || io.bits(16, "bouquet_id", d.bouquet_id));
        case 0x0D:
            return io.entry("event", d.event);
        default:
            return d.linkage_type < 0x0E || d.linkage_type > 0x1F ||
                   (io.bits(8, "loop_length", d.loop_length) &&
                    io.exactly(d.loop_length, [&] { return io.entries(3, "events", d.events); }));
        }
    }
};
} // namespace mpegcore
