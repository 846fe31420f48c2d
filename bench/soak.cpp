// SPDX-License-Identifier: LGPL-2.1-or-later
// What a parser, and what the monitor of one stream, holds while it runs for long: over clean recordings, and with 20
// bits flipped or a piece cut in one of eight. The recordings are generated; those in the folder that ZQ_SAMPLE_DIR
// names are added.
//   soak [millions of packets of each kind, 1000 unless given [parser|monitor]]
#include "CountingParser.h"
#include "MultiplexStream.h"
#include "mpegcore/monitor/StreamMonitor.h"
#include "support/Noise.h"
#include "support/Samples.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

namespace
{
using zqtest::Bytes;

constexpr std::size_t million = 1000000;

std::vector<Bytes> make_recordings()
{
    std::vector<Bytes> recordings;
    for (const unsigned programmes : {1U, 4U, 12U, 60U})
        recordings.push_back(zqbench::MultiplexStream(programmes, 5000 + 500 * programmes).make(10000));
    recordings.push_back(zqbench::table_stream(12, 10000, true));
    if (const auto folder = zqtest::sample_folder())
        for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
            if (entry.path().extension() != ".ts")
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            recordings.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    return recordings;
}

std::size_t heap_bytes()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

struct parsing
{
    static constexpr const char* name = "parser";

    void take(Bytes& recording) { parser.Process(recording.data(), recording.size()); }
    [[nodiscard]] std::size_t packets() const { return parser.packets; }

    zqbench::CountingParser parser{true};
};

/// Seven packets a datagram, in the time of a stream of 10 Mbit/s.
struct monitoring
{
    static constexpr const char* name = "monitor";

    void take(const Bytes& recording)
    {
        constexpr std::size_t datagram = 7;
        constexpr std::uint64_t datagram_time = 1'052'800, tick_time = 100'000'000;
        const std::size_t whole = recording.size() / mpegcore::ts_packet_size;
        for (std::size_t at = 0; at < whole; at += datagram) {
            monitor.put(recording.data() + at * mpegcore::ts_packet_size, std::min(datagram, whole - at), now);
            now += datagram_time;
            if (now < next_tick)
                continue;
            monitor.tick(now);
            next_tick = now + tick_time;
        }
        taken += whole;
    }
    [[nodiscard]] std::size_t packets() const { return taken; }

    mpegcore::StreamMonitor monitor;
    std::uint64_t now = 1, next_tick = 0;
    std::size_t taken = 0;
};

template <class Kind>
void soak(const std::vector<Bytes>& recordings, bool noisy, std::size_t packets)
{
    zqtest::Noise noise(1);
    Bytes recording;
    std::size_t longest = 0;
    for (const Bytes& one : recordings)
        longest = std::max(longest, one.size());
    recording.reserve(longest);
    const std::size_t before = heap_bytes();
    auto kind = std::make_unique<Kind>();
    std::printf("%s over %s recordings\n", Kind::name, noisy ? "noisy" : "clean");
    std::size_t most = 0, next_line = 0;
    for (std::size_t round = 0; kind->packets() < packets; ++round) {
        recording = recordings[round % recordings.size()];
        if (noisy && noise.below(8) == 0)
            noise.damage(recording);
        kind->take(recording);
        const std::size_t held = heap_bytes() - before;
        most = std::max(most, held);
        if (kind->packets() < next_line)
            continue;
        std::printf("%6zu million packets: the %s holds %zu kB, at most %zu kB so far\n", kind->packets() / million,
                    Kind::name, held / 1024, most / 1024);
        std::fflush(stdout);
        next_line += std::max(packets / 10, million);
    }
}
} // namespace

int main(int argc, char** argv)
{
    const std::size_t millions = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000;
    const auto recordings = make_recordings();
    const std::string_view only = argc > 2 ? argv[2] : "";
    for (const bool noisy : {false, true}) {
        if (only.empty() || only == parsing::name)
            soak<parsing>(recordings, noisy, millions * million);
        if (only.empty() || only == monitoring::name)
            soak<monitoring>(recordings, noisy, millions * million);
    }
}
