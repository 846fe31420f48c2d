// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Where more to a service, event or network is found: ETSI EN 300 468, 6.2.19.
/// Software update, IP/MAC notification and other links keep their own structure in private_data_byte.
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
               io.bits(8, "linkage_type", d.linkage_type) &&
               (d.linkage_type != 0x08 || io.entry("hand_over", d.hand_over)) &&
               (d.linkage_type != 0x0D || io.entry("event", d.event)) &&
               (d.linkage_type < 0x0E || d.linkage_type > 0x1F ||
                (io.bits(8, "loop_length", d.loop_length) &&
                 io.exactly(d.loop_length, [&] { return io.entries(3, "events", d.events); }))) &&
               io.rest("private_data_byte", d.private_data_byte);
    }

    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint16_t service_id = 0;
    std::uint8_t linkage_type = 0;
    mobile_hand_over hand_over;
    event_linkage event;
    /// Bytes that the entries behind it take.
    std::uint8_t loop_length = 0;
    std::vector<extended_event_linkage> events;
    std::vector<unsigned char> private_data_byte;
};
} // namespace mpegcore
