// SPDX-License-Identifier: LGPL-2.1-or-later
// T2-MI through the decapsulator and through the demultiplexer, packets counted, beside the least that such a program
// has to do with the same bytes: one copy of each 184-byte payload, one CRC-32 over each T2-MI packet, one 188-byte
// copy of each packet out. They take turns within one row and are measured by the CPU time of the thread, so that the
// ratios depend as little as can be on what else the machine does. Then what demultiplexers hold.
#include "mpegcore/CRC.h"
#include "mpegcore/T2MIToTS.h"
#include "mpegcore/t2mi/T2MIDemultiplexer.h"
#include "t2mi_stream.h"
#include "tests/support/AllocationCounter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include <malloc.h>

namespace
{
using bytes = std::vector<unsigned char>;

constexpr std::size_t packets_in = 100'000;

bytes make_stream(unsigned plps = 1) { return bench::t2mi_stream(packets_in, plps); }

class counting_decapsulator : public mpegcore::CT2MIToTS
{
public:
    counting_decapsulator() : CT2MIToTS(true)
    {
        collect_units(false);
        only_read_adaptation_fields();
    }
    void OnTS(unsigned char, unsigned char*, unsigned long) override { ++packets; }
    std::size_t packets = 0;
};

class counting_listener : public mpegcore::T2MIDemultiplexer::Listener
{
public:
    void on_packet(std::uint8_t, const mpegcore::UserPacket& packet, bool) override
    {
        benchmark::DoNotOptimize(packet.data);
        ++packets;
    }
    std::size_t packets = 0;
};

/// What none of them can do without. Knows where the payloads are and how long the T2-MI packets; of these each
/// `taken_one_of` goes out.
void bare_loop(const bytes& stream, unsigned taken_one_of = 1)
{
    static unsigned char packet[65535];
    static unsigned char out[7 * mpegcore::ts_packet_size];
    constexpr std::size_t packet_size = 5370 + 23;
    std::size_t fill = 0;
    std::size_t number = 0;
    std::uint32_t crc = 0;
    for (std::size_t at = 0; at + mpegcore::ts_packet_size <= stream.size(); at += mpegcore::ts_packet_size) {
        std::memcpy(packet + fill, stream.data() + at + mpegcore::ts_header_size, mpegcore::ts_payload_size);
        fill += mpegcore::ts_payload_size;
        if (fill < packet_size)
            continue;
        crc ^= mpegcore::crc32_mpeg2(packet, fill);
        const std::size_t taken = number++ % taken_one_of == 0 ? fill : 0;
        for (std::size_t from = 0, to = 0; from + mpegcore::ts_packet_size <= taken; from += mpegcore::ts_packet_size) {
            std::memcpy(out + to, packet + from, mpegcore::ts_packet_size);
            to = (to + mpegcore::ts_packet_size) % sizeof out;
            benchmark::DoNotOptimize(out);
        }
        fill = 0;
    }
    benchmark::DoNotOptimize(crc);
}

double thread_seconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
double seconds(Work&& work)
{
    const double begin = thread_seconds();
    work();
    return thread_seconds() - begin;
}

/// The middle one, which a burst of something else does not move.
double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
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

/// The demultiplexer with so many PLPs in the stream, one of them taken or all.
void demultiplex(benchmark::State& state)
{
    const auto plps = static_cast<unsigned>(state.range(0));
    const bool takes_all = state.range(1) != 0;
    bytes stream = make_stream(plps);
    counting_listener listener;
    mpegcore::T2MIDemultiplexer demultiplexer(listener);
    if (!takes_all)
        demultiplexer.set_PLPs(std::bitset<256>().set(0));
    const auto feed = [&] { demultiplexer.put(stream.data(), stream.size()); };
    counting_decapsulator decapsulator;
    feed();
    decapsulator.Process(stream.data(), stream.size());
    const std::size_t packets_before = listener.packets;
    double ours = 0, simple = 0, bare = 0;
    std::vector<double> of_bare;
    std::size_t allocated = 0;
    for (auto _ : state) {
        const std::size_t before = zqtest::allocations();
        const double time = seconds(feed);
        allocated += zqtest::allocations() - before;
        ours += time;
        simple += seconds([&] { decapsulator.Process(stream.data(), stream.size()); });
        const double least = seconds([&] { bare_loop(stream, takes_all ? 1 : plps); });
        bare += least;
        of_bare.push_back(least / time);
        state.SetIterationTime(time);
    }
    const auto rounds = static_cast<double>(state.iterations());
    const double megabytes = rounds * static_cast<double>(stream.size()) / 1e6;
    const std::size_t sent = packets_in / (takes_all ? 1 : plps);
    // Where the stream begins anew, its first packets do not follow its last ones.
    if (listener.packets - packets_before + 4 * plps * state.iterations() < sent * state.iterations())
        state.SkipWithError("packets got lost");
    state.counters["MB/s"] = megabytes / ours;
    state.counters["simple MB/s"] = megabytes / simple;
    state.counters["bare MB/s"] = megabytes / bare;
    state.counters["of bare"] = median(of_bare);
    state.counters["of simple"] = simple / ours;
    state.counters["allocs/packet"] =
        static_cast<double>(allocated) / (rounds * static_cast<double>(stream.size() / mpegcore::ts_packet_size));
}
BENCHMARK(demultiplex)
    ->ArgNames({"plps", "all"})
    ->Args({1, 1})
    ->Args({4, 0})
    ->Args({8, 0})
    ->Args({8, 1})
    ->UseManualTime()
    ->MinTime(2);

/// All PLPs of a stream with eight against a stream of one.
void eight_beside_one(benchmark::State& state)
{
    const bytes eight = make_stream(8), one = make_stream(1);
    counting_listener listener;
    mpegcore::T2MIDemultiplexer of_eight(listener), of_one(listener);
    const auto feed_eight = [&] { of_eight.put(eight.data(), eight.size()); };
    const auto feed_one = [&] { of_one.put(one.data(), one.size()); };
    feed_eight();
    feed_one();
    std::vector<double> ratios;
    for (auto _ : state) {
        const double time = seconds(feed_eight);
        ratios.push_back(time / seconds(feed_one) * static_cast<double>(one.size()) /
                         static_cast<double>(eight.size()));
        state.SetIterationTime(time);
    }
    state.counters["of one"] = median(ratios);
}
BENCHMARK(eight_beside_one)->UseManualTime()->MinTime(3);

std::size_t held_bytes()
{
    const auto held = mallinfo2();
    return held.uordblks + held.hblkhd;
}

/// What 24 demultiplexers in one thread hold, each behind a stream of its own with eight PLPs.
void memory_of_24(benchmark::State& state)
{
    const bytes stream = make_stream(8);
    double each = 0;
    for (auto _ : state) {
        constexpr std::size_t count = 24;
        counting_listener listener;
        std::vector<std::unique_ptr<mpegcore::T2MIDemultiplexer>> all;
        const std::size_t before = held_bytes();
        for (std::size_t at = 0; at < count; ++at)
            all.push_back(std::make_unique<mpegcore::T2MIDemultiplexer>(listener));
        for (std::size_t at = 0; at < stream.size(); at += 1316)
            for (const auto& demultiplexer : all)
                demultiplexer->put(stream.data() + at, std::min<std::size_t>(1316, stream.size() - at));
        each = static_cast<double>(held_bytes() - before) / count;
    }
    state.counters["KB each"] = each / 1000;
}
BENCHMARK(memory_of_24)->Iterations(1);
} // namespace

BENCHMARK_MAIN();
