// SPDX-License-Identifier: LGPL-2.1-or-later
// What a parser holds while it runs for long: over clean recordings, and with 20 bits flipped or a piece cut in one of
// eight. The recordings are generated; those in the folder that ZQ_SAMPLE_DIR names are added.
//   soak [millions of packets of each kind, 1000 unless given]
#include "CountingParser.h"
#include "MultiplexStream.h"
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

void soak(const std::vector<Bytes>& recordings, bool noisy, std::size_t packets)
{
    zqtest::Noise noise(1);
    Bytes recording;
    std::size_t longest = 0;
    for (const Bytes& one : recordings)
        longest = std::max(longest, one.size());
    recording.reserve(longest);
    const std::size_t before = heap_bytes();
    auto parser = std::make_unique<zqbench::CountingParser>(true);
    std::printf("%s recordings\n", noisy ? "noisy" : "clean");
    std::size_t most = 0, next_line = 0;
    for (std::size_t round = 0; parser->packets < packets; ++round) {
        recording = recordings[round % recordings.size()];
        if (noisy && noise.below(8) == 0)
            noise.damage(recording);
        parser->Process(recording.data(), recording.size());
        const std::size_t held = heap_bytes() - before;
        most = std::max(most, held);
        if (parser->packets < next_line)
            continue;
        std::printf("%6zu million packets: the parser holds %zu kB, at most %zu kB so far\n",
                    static_cast<std::size_t>(parser->packets) / million, held / 1024, most / 1024);
        std::fflush(stdout);
        next_line += std::max(packets / 10, million);
    }
}
} // namespace

int main(int argc, char** argv)
{
    const std::size_t millions = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000;
    const auto recordings = make_recordings();
    for (const bool noisy : {false, true})
        soak(recordings, noisy, millions * million);
}
