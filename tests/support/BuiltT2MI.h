// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/T2MI.h"

#include <random>
#include <vector>

namespace zqtest
{
/// T2-MI of the kind that is recorded, made by hand, and what must come out of it for PLP 0.
struct BuiltT2MI
{
    Bytes data;
    Bytes transport_stream; ///< the packets, each behind its sync byte
    std::size_t frames = 0;
    std::size_t timestamps = 0;
    std::size_t auxiliaries = 0;
};

/// Frames of two PLPs cut anywhere, the first of PLP 0 beginning with the end of an older packet; among them
/// timestamps, auxiliary streams and L1 data, packets without payload, null packets and PSI; the last T2-MI packet
/// never ends.
inline BuiltT2MI built_T2MI()
{
    std::mt19937 random(109);
    const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    const auto random_bytes = [&random](std::size_t size) {
        Bytes bytes(size);
        for (auto& byte : bytes)
            byte = static_cast<unsigned char>(random());
        return bytes;
    };
    constexpr std::size_t packet = 187;
    const std::size_t older = 1 + below(packet - 1);
    const Bytes user_packets = random_bytes(older + 200 * packet);

    BuiltT2MI built;
    Stream stream = known_stream();
    std::size_t at = 0;
    while (user_packets.size() - at >= 8000) {
        Frame frame;
        frame.data = slice(user_packets, at, 400 + below(7000));
        frame.SYNCD = static_cast<unsigned>(8 * ((older + 200 * packet - at) % packet));
        at += frame.data.size();
        const Bytes bytes = Bytes{0} + frame.packet();
        const std::size_t cut = below(std::min<unsigned>(184, static_cast<unsigned>(bytes.size())));
        stream.packet(T2MI_PID, Stream::begins, slice(bytes, 0, cut + 1));
        stream.packet(T2MI_PID, Stream::goes_on, Bytes{}); // without payload, in the middle of a T2-MI packet
        for (std::size_t from = cut + 1; from < bytes.size(); from += 184)
            stream.packet(T2MI_PID, Stream::goes_on,
                          slice(bytes, from, std::min<std::size_t>(184, bytes.size() - from)));
        ++built.frames;

        Frame of_another_PLP;
        of_another_PLP.plp_id = 1;
        of_another_PLP.data = random_bytes(400 + below(3000));
        put(stream, of_another_PLP.packet());
        put(stream, t2mi_packet(0x10, random_bytes(40)));
        put(stream, t2mi_packet(0x20, random_bytes(11)));
        ++built.timestamps;
        if (built.frames % 3 == 0) {
            put(stream, t2mi_packet(0x01, random_bytes(20)));
            ++built.auxiliaries;
            stream.section(PAT_PID, PAT_of({PMT_PID})).section(PMT_PID, PMT_of({{0x06, T2MI_PID}}));
        }
        stream.null();
    }
    Frame never_ended;
    never_ended.data = random_bytes(500);
    put(stream, never_ended.packet());
    built.data = stream.data;
    for (std::size_t whole = older; whole + packet <= at; whole += packet) {
        built.transport_stream.push_back(0x47);
        const Bytes bytes = slice(user_packets, whole, packet);
        built.transport_stream.insert(built.transport_stream.end(), bytes.begin(), bytes.end());
    }
    return built;
}
} // namespace zqtest
