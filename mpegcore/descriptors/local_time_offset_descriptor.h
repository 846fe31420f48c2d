// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Local time by country and region: ETSI EN 300 468, 6.2.20.
class local_time_offset_descriptor : public typed_descriptor<local_time_offset_descriptor, 0x58>
{
public:
    struct local_time_offset_entry
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.code("country_code", d.country_code) && io.bits(6, "country_region_id", d.country_region_id) &&
                   io.bits(1, "reserved", d.reserved) &&
                   io.bits(1, "local_time_offset_polarity", d.local_time_offset_polarity) &&
                   io.bits(16, "local_time_offset", d.local_time_offset) &&
                   io.time("time_of_change", d.time_of_change) && io.bits(16, "next_time_offset", d.next_time_offset);
        }

        std::array<unsigned char, 3> country_code{};
        std::uint8_t country_region_id = 0;
        std::uint8_t reserved = 0;
        std::uint8_t local_time_offset_polarity = 0;
        /// BCD hhmm, as next_time_offset.
        std::uint16_t local_time_offset = 0;
        /// UTC: 16 bits of modified Julian date, 24 bits of BCD hhmmss.
        std::uint64_t time_of_change = 0;
        std::uint16_t next_time_offset = 0;
    };

    local_time_offset_descriptor() = default;
    local_time_offset_descriptor(const local_time_offset_descriptor& other) : typed_descriptor(other) { *this = other; }
    /// The copy has entries of its own.
    local_time_offset_descriptor& operator=(const local_time_offset_descriptor& other)
    {
        typed_descriptor::operator=(other);
        auto copies = other.entries;
        for (auto& copy : copies)
            if (copy)
                copy = std::make_shared<local_time_offset_entry>(*copy);
        entries = std::move(copies);
        return *this;
    }

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(13, "entries", d.entries);
    }

    std::vector<std::shared_ptr<local_time_offset_entry>> entries;
};
} // namespace mpegcore
