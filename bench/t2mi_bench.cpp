// SPDX-License-Identifier: LGPL-2.1-or-later
// T2-MI through the decapsulator, packets counted, beside the least that such a program has to do with the same
// bytes: one copy of each 184-byte payload, one CRC-32 over each T2-MI packet, one 188-byte copy of each packet out.
// Both take turns within one row, so that the ratio does not depend on what else the machine does.
#include "mpegcore/CRC.h"
#include "mpegcore/T2MIToTS.h"
#include "tests/support/AllocationCounter.h"
#include "tools/t2mi/t2mi_encapsulator.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>
#include <vector>

namespace
{
using bytes = std::vector<unsigned char>;

constexpr std::size_t packets_in = 100'000;

/// One PLP of random packets, so that all of the T2-MI has to go out again.
bytes make_stream()
{
    bytes stream;
    t2mi::t2mi_encapsulator encapsulator(t2mi::t2mi_options{}, [&stream](const unsigned char* packet) {
        stream.insert(stream.end(), packet, packet + mpegcore::ts_packet_size);
    });
    bool taken = encapsulator.add_plp(0);
    std::mt19937 random(1);
    t2mi::ts_packet packet{mpegcore::ts_sync_byte};
    for (std::size_t at = 0; at < packets_in && taken; ++at) {
        std::generate(packet.begin() + 1, packet.end(), [&random] { return static_cast<unsigned char>(random()); });
        taken = encapsulator.push(0, packet.data());
    }
    encapsulator.flush();
    return stream;
}

class counting_decapsulator : public mpegcore::CT2MIToTS
{
public:
    counting_decapsulator() : CT2MIToTS(true) { only_read_adaptation_fields(); }
    void OnTS(unsigned char, unsigned char*, unsigned long) override { ++packets; }
    std::size_t packets = 0;
};

/// What the decapsulator cannot do without. Knows where the payloads are and how long the T2-MI packets.
void bare_loop(const bytes& stream)
{
    static unsigned char packet[65535];
    static unsigned char out[7 * mpegcore::ts_packet_size];
    constexpr std::size_t packet_size = 5370 + 23;
    std::size_t fill = 0;
    std::uint32_t crc = 0;
    for (std::size_t at = 0; at + mpegcore::ts_packet_size <= stream.size(); at += mpegcore::ts_packet_size) {
        std::memcpy(packet + fill, stream.data() + at + mpegcore::ts_header_size, mpegcore::ts_payload_size);
        fill += mpegcore::ts_payload_size;
        if (fill < packet_size)
            continue;
        crc ^= mpegcore::crc32_mpeg2(packet, fill);
        for (std::size_t from = 0, to = 0; from + mpegcore::ts_packet_size <= fill; from += mpegcore::ts_packet_size) {
            std::memcpy(out + to, packet + from, mpegcore::ts_packet_size);
            to = (to + mpegcore::ts_packet_size) % sizeof out;
            benchmark::DoNotOptimize(out);
        }
        fill = 0;
    }
    benchmark::DoNotOptimize(crc);
}

template <class Work>
double seconds(Work&& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The stream in pieces of so many bytes.
void decapsulate(benchmark::State& state)
{
    bytes stream = make_stream();
    const std::size_t piece = std::min(static_cast<std::size_t>(state.range(0)), stream.size());
    counting_decapsulator decapsulator;
    const auto feed = [&] {
        for (std::size_t at = 0; at < stream.size(); at += piece)
            decapsulator.Process(stream.data() + at, std::min(piece, stream.size() - at));
    };
    feed();
    const std::size_t packets_before = decapsulator.packets;
    double ours = 0;
    double bare = 0;
    std::size_t allocated = 0;
    for (auto _ : state) {
        const std::size_t before = zqtest::allocations();
        const double time = seconds(feed);
        allocated += zqtest::allocations() - before;
        ours += time;
        bare += seconds([&] { bare_loop(stream); });
        state.SetIterationTime(time);
    }
    const auto rounds = static_cast<double>(state.iterations());
    const double megabytes = rounds * static_cast<double>(stream.size()) / 1e6;
    if (decapsulator.packets - packets_before != packets_in * state.iterations())
        state.SkipWithError("packets got lost");
    state.counters["MB/s"] = megabytes / ours;
    state.counters["bare MB/s"] = megabytes / bare;
    state.counters["ratio"] = bare / ours;
    state.counters["packets/s"] = rounds * packets_in / ours;
    // The tables allocate when they are read again; per packet there must be nothing.
    state.counters["allocs/packet"] =
        static_cast<double>(allocated) / (rounds * static_cast<double>(stream.size() / mpegcore::ts_packet_size));
}
BENCHMARK(decapsulate)->ArgName("piece")->Arg(1 << 30)->Arg(1316)->UseManualTime()->MinTime(2);
} // namespace

BENCHMARK_MAIN();
