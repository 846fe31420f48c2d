// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/T2MI.h"
#include "tools/t2mi/t2mi_encapsulator.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace zqtest
{
/// A transport packet of random bytes behind its sync byte.
inline Bytes random_packet(std::mt19937& random)
{
    Bytes packet(188);
    for (auto& byte : packet)
        byte = static_cast<unsigned char>(random());
    packet[0] = 0x47;
    return packet;
}

/// An encapsulator that keeps its stream and what went in.
class Encapsulated
{
public:
    explicit Encapsulated(const t2mi::t2mi_options& options = {}, const std::vector<unsigned>& plp_ids = {0})
        : encapsulator(options, [this](const unsigned char* packet) { data.insert(data.end(), packet, packet + 188); })
    {
        for (const unsigned plp_id : plp_ids)
            EXPECT_TRUE(encapsulator.add_plp(static_cast<std::uint8_t>(plp_id)));
    }

    void push(unsigned plp_id, const Bytes& packet)
    {
        EXPECT_TRUE(encapsulator.push(static_cast<std::uint8_t>(plp_id), packet.data()));
        auto& bytes = pushed[plp_id];
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }

    Bytes data;
    std::map<unsigned, Bytes> pushed; ///< by PLP
    t2mi::t2mi_encapsulator encapsulator;
};

inline void push_random(Encapsulated& mix, unsigned packets, unsigned plp_id = 0)
{
    std::mt19937 random(plp_id + 1);
    for (unsigned packet = 0; packet < packets; ++packet)
        mix.push(plp_id, random_packet(random));
}

inline t2mi::t2mi_options frames_of(std::size_t data_field_bytes)
{
    t2mi::t2mi_options options;
    options.data_field_bytes_min = options.data_field_bytes_max = data_field_bytes;
    return options;
}
} // namespace zqtest
