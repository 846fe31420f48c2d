// SPDX-License-Identifier: LGPL-2.1-or-later
// The packet parser, every callback overridden, against FFmpeg's demuxer and libdvbpsi over the same packets.
// Rows "only_reading" are the parser whose class says that it writes no adaptation fields; rows "by_the_standard" the
// one with sections by the standard, OnSection overridden too.
//   parser_bench            million packets per second of CPU time, and the ratios to the peers
//   parser_bench --memory   resident memory over a billion bytes
// tools/count-instructions counts the instructions of a row.
#include "CountingParser.h"
#include "DvbpsiPeer.h"
#include "FFmpegPeer.h"
#include "MultiplexStream.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

namespace
{
using zqtest::Bytes;

constexpr std::size_t packet_count = 60000;

Bytes null_stream()
{
    zqtest::Stream stream;
    while (stream.packets() < packet_count)
        stream.null();
    return stream.data;
}

// Made before main, so that counting the instructions of one row counts nothing else.
Bytes one_programme = zqbench::MultiplexStream(1, 5000).make(packet_count);
Bytes sixty_programmes = zqbench::MultiplexStream(60, 30000).make(packet_count);
Bytes nulls = null_stream();
Bytes changing_tables = zqbench::table_stream(60, packet_count, true);
Bytes repeated_tables = zqbench::table_stream(60, packet_count, false);
// libdvbpsi searches a list of all sub-tables for every section; this keeps it short.
Bytes few_repeated_tables = zqbench::table_stream(4, packet_count, false);

void report(benchmark::State& state, std::size_t bytes)
{
    state.counters["packets"] = benchmark::Counter(static_cast<double>(bytes / 188), benchmark::Counter::kIsRate);
}

enum class Way
{
    usual,
    only_reading,
    by_the_standard,
    every_descriptor
};

/// By the standard, and nothing of an event stays unread.
class LookingParser : public zqbench::CountingParser
{
public:
    using CountingParser::CountingParser;

    void OnEIT(mpegcore::CEIT* eit) override
    {
        CountingParser::OnEIT(eit);
        for (const auto& event : eit->events)
            descriptors += event->descriptors.size();
    }

    std::size_t descriptors = 0;
};

void parser(benchmark::State& state, Bytes* stream, Way way)
{
    static std::map<std::pair<Bytes*, Way>, std::unique_ptr<zqbench::CountingParser>> parsers;
    auto& p = parsers[{stream, way}];
    if (!p) {
        if (way == Way::every_descriptor)
            p = std::make_unique<LookingParser>(true);
        else
            p = std::make_unique<zqbench::CountingParser>(true);
        p->set_sections_by_the_standard(way == Way::by_the_standard || way == Way::every_descriptor);
        if (way == Way::only_reading)
            p->only_read_adaptation_fields();
    }
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes += p->Process(stream->data(), stream->size());
    report(state, bytes);
    state.counters["tables"] = static_cast<double>(p->tables) / (static_cast<double>(p->packets) / 1e6);
    state.counters["events"] = static_cast<double>(p->events) / (static_cast<double>(p->packets) / 1e6);
}

void ffmpeg(benchmark::State& state, Bytes* stream, int flags)
{
    zqbench::FFmpegPeer peer(*stream, flags);
    peer.run(stream->size());
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes += peer.run(stream->size());
    report(state, bytes);
    state.counters["streams"] = peer.streams();
}

void dvbpsi(benchmark::State& state, Bytes* stream)
{
    auto* const peer = new zqbench::DvbpsiPeer;
    std::size_t bytes = 0;
    for (auto _ : state) {
        for (std::size_t at = 0; at < stream->size(); at += 188)
            peer->push(stream->data() + at);
        bytes += stream->size();
    }
    report(state, bytes);
    state.counters["tables"] = static_cast<double>(peer->tables) / (static_cast<double>(bytes) / 188e6);
    state.counters["events"] = static_cast<double>(peer->events) / (static_cast<double>(bytes) / 188e6);
    benchmark::DoNotOptimize(peer);
}

/// Prints behind the table how many times faster the parser is than each peer of its group.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs)
            m_rates[run.benchmark_name()] = run.counters.at("packets");
    }

    void Finalize() override
    {
        for (const auto& [name, rate] : m_rates) {
            const std::string group = name.substr(0, name.find('/'));
            std::printf("%-32s %8.2f million packets per second of CPU", name.c_str(), rate / 1e6);
            for (const char* own_name : {"parser", "only_reading", "by_the_standard", "every_descriptor"}) {
                const auto own = m_rates.find(group + '/' + own_name);
                if (own != m_rates.end() && own->first != name)
                    std::printf(", %s %.2f times as fast", own_name, own->second / rate);
            }
            std::printf("\n");
        }
        if (m_rates.count("a_one_programme/parser") != 0 && m_rates.count("b_60_programmes/parser") != 0)
            std::printf("a packet of 60 programmes costs %.2f times one of one programme\n",
                        m_rates["a_one_programme/parser"] / m_rates["b_60_programmes/parser"]);
    }

private:
    std::map<std::string, double> m_rates;
};

long resident_kilobytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return 0;
}

int show_memory()
{
    zqbench::CountingParser p(true);
    std::size_t bytes = 0, shown = 0;
    while (bytes < 1000000000) {
        bytes += p.Process(sixty_programmes.data(), sixty_programmes.size());
        if (bytes < shown)
            continue;
        std::printf("%5zu million bytes: %ld kB resident\n", bytes / 1000000, resident_kilobytes());
        shown += 100000000;
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--memory") == 0)
        return show_memory();
    constexpr int without_parsing = AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    const auto with_ffmpeg = [&](const std::string& name, Bytes* stream) {
        benchmark::RegisterBenchmark((name + "/parser").c_str(), parser, stream, Way::usual);
        benchmark::RegisterBenchmark((name + "/only_reading").c_str(), parser, stream, Way::only_reading);
        benchmark::RegisterBenchmark((name + "/by_the_standard").c_str(), parser, stream, Way::by_the_standard);
        benchmark::RegisterBenchmark((name + "/ffmpeg").c_str(), ffmpeg, stream, 0);
        benchmark::RegisterBenchmark((name + "/ffmpeg_without_parsing").c_str(), ffmpeg, stream, without_parsing);
    };
    with_ffmpeg("a_one_programme", &one_programme);
    with_ffmpeg("b_60_programmes", &sixty_programmes);
    benchmark::RegisterBenchmark("c_null/parser", parser, &nulls, Way::usual);
    benchmark::RegisterBenchmark("c_null/only_reading", parser, &nulls, Way::only_reading);
    benchmark::RegisterBenchmark("c_null/by_the_standard", parser, &nulls, Way::by_the_standard);
    for (const auto& [name, stream] : {std::pair<std::string, Bytes*>{"d_changing_tables", &changing_tables},
                                       {"d_repeated_tables", &repeated_tables},
                                       {"d_few_repeated_tables", &few_repeated_tables}})
    {
        benchmark::RegisterBenchmark((name + "/parser").c_str(), parser, stream, Way::usual);
        benchmark::RegisterBenchmark((name + "/by_the_standard").c_str(), parser, stream, Way::by_the_standard);
        benchmark::RegisterBenchmark((name + "/every_descriptor").c_str(), parser, stream, Way::every_descriptor);
        benchmark::RegisterBenchmark((name + "/dvbpsi").c_str(), dvbpsi, stream);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
