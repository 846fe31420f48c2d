// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// How an application is transported: ETSI TS 102 809, 5.3.6.
class transport_protocol_descriptor : public application_information_descriptor<transport_protocol_descriptor, 0x02>
{
public:
    /// Where the carousel or the stream with the datagrams is.
    struct connection
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(1, "remote_connection", d.remote_connection) &&
                   io.bits(7, "reserved_future_use", d.reserved_future_use) &&
                   (d.remote_connection == 0 || (io.bits(16, "original_network_id", d.original_network_id) &&
                                                 io.bits(16, "transport_stream_id", d.transport_stream_id) &&
                                                 io.bits(16, "service_id", d.service_id)));
        }

        std::uint8_t remote_connection = 0;
        std::uint8_t reserved_future_use = 0;
        /// This and the next two when remote_connection is 1.
        std::uint16_t original_network_id = 0;
        std::uint16_t transport_stream_id = 0;
        std::uint16_t service_id = 0;
    };

    struct address
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.data(8, "URL", d.URL_length, d.URL);
        }

        std::uint8_t URL_length = 0;
        std::vector<unsigned char> URL;
    };

    struct extension
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.data(8, "URL_extension", d.URL_extension_length, d.URL_extension);
        }

        std::uint8_t URL_extension_length = 0;
        std::vector<unsigned char> URL_extension;
    };

    struct base_address
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.data(8, "URL_base", d.URL_base_length, d.URL_base) &&
                   io.bits(8, "URL_extension_count", d.URL_extension_count) &&
                   io.counted(d.URL_extension_count, "extensions", d.extensions);
        }

        std::uint8_t URL_base_length = 0;
        std::vector<unsigned char> URL_base;
        std::uint8_t URL_extension_count = 0;
        std::vector<extension> extensions;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(16, "protocol_id", d.protocol_id) &&
               io.bits(8, "transport_protocol_label", d.transport_protocol_label) && selector(d, io);
    }

    /// 1 object carousel, 2 Internet protocol by multiprotocol encapsulation, 3 HTTP.
    std::uint16_t protocol_id = 0;
    std::uint8_t transport_protocol_label = 0;
    /// When protocol_id is 1 or 2.
    connection where;
    /// When protocol_id is 1.
    std::uint8_t component_tag = 0;
    /// With the next two, when protocol_id is 2.
    std::uint8_t alignment_indicator = 0;
    std::uint8_t reserved_future_use = 0;
    std::vector<address> URLs;
    /// When protocol_id is 3.
    std::vector<base_address> bases;
    /// Of every other protocol.
    std::vector<unsigned char> selector_byte;

private:
    template <class Self, class Io>
    static bool selector(Self& d, Io& io)
    {
        switch (d.protocol_id) {
        case 1:
            return io.entry("connection", d.where) && io.bits(8, "component_tag", d.component_tag);
        case 2:
            return io.entry("connection", d.where) && io.bits(1, "alignment_indicator", d.alignment_indicator) &&
                   io.bits(7, "reserved_future_use", d.reserved_future_use) && io.entries(1, "URLs", d.URLs);
        case 3:
            return io.entries(2, "bases", d.bases);
        default:
            return io.rest("selector_byte", d.selector_byte);
        }
    }
};
} // namespace mpegcore
