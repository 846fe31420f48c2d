// SPDX-License-Identifier: LGPL-2.1-or-later
// What it costs to watch streams of 10 Mbit/s, a datagram of seven packets at a time.
#include "mpegcore/monitor/StreamMonitor.h"

#include "MultiplexStream.h"

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <vector>

namespace
{
constexpr std::size_t packets_per_datagram = 7, datagram_size = packets_per_datagram * mpegcore::ts_packet_size;
constexpr unsigned packets_per_second = 6650;
constexpr std::uint64_t datagram_time = 1'000'000'000 * packets_per_datagram / packets_per_second;
constexpr std::uint64_t tick_time = 100'000'000;

/// Ten seconds of a stream.
const zqtest::Bytes& stream_of(unsigned programmes)
{
    static std::map<unsigned, zqtest::Bytes> made;
    zqtest::Bytes& stream = made[programmes];
    if (stream.empty())
        stream = zqbench::MultiplexStream(programmes, packets_per_second).make(std::size_t{10} * packets_per_second);
    return stream;
}

/// An iteration is a datagram for each of the streams.
void watch(benchmark::State& state)
{
    const zqtest::Bytes& stream = stream_of(static_cast<unsigned>(state.range(0)));
    std::vector<std::unique_ptr<mpegcore::StreamMonitor>> monitors(static_cast<std::size_t>(state.range(1)));
    for (auto& monitor : monitors)
        monitor = std::make_unique<mpegcore::StreamMonitor>();
    std::size_t at = 0;
    std::uint64_t now = 1, next_tick = 0;
    for (auto _ : state) {
        for (auto& monitor : monitors)
            monitor->put(stream.data() + at, packets_per_datagram, now);
        if (now >= next_tick) {
            for (auto& monitor : monitors)
                monitor->tick(now);
            next_tick = now + tick_time;
        }
        now += datagram_time;
        at = at + 2 * datagram_size <= stream.size() ? at + datagram_size : 0;
    }
    const auto datagrams = static_cast<std::int64_t>(state.iterations() * monitors.size());
    state.SetItemsProcessed(datagrams);
    state.SetBytesProcessed(datagrams * static_cast<std::int64_t>(datagram_size));
}
// So many that instructions can be counted, too: a hundred seconds of a stream, ten of all of them.
BENCHMARK(watch)->ArgNames({"programmes", "streams"})->Args({1, 1})->Args({4, 1})->Iterations(95'000);
BENCHMARK(watch)->ArgNames({"programmes", "streams"})->Args({1, 200})->Args({4, 200})->Iterations(9'500);
} // namespace

BENCHMARK_MAIN();
