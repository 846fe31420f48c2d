// SPDX-License-Identifier: LGPL-2.1-or-later
// `zqnetsource ! fakesink` and `zqudpsrc ! fakesink` beside `udpsrc ! fakesink`: the same paced datagrams on loopback,
// each receiver in a process of its own, one after the other. Prints CPU time per datagram, loss at the sinks, memory,
// and the ratios to udpsrc as medians over the rounds. Then many sources in one process, and both roads to a PLP of
// T2-MI.
#include "paced_load.h"
#include "receiving_process.h"
#include "t2mi_stream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace
{
constexpr double seconds_per_run = 1;
constexpr unsigned ticks_per_second = 5000;

std::uint16_t next_port(unsigned count = 1)
{
    static unsigned next = 20000;
    const unsigned first = next + count > 30000 ? 20000 : next;
    next = first + count;
    return static_cast<std::uint16_t>(first);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One element under one load, round by round.
struct contestant
{
    std::string element;
    unsigned long per_buffer;
    std::vector<double> us_per_datagram{};
    std::vector<double> ratios{}; // to the first contestant in the same round
    unsigned long sent = 0;
    unsigned long received = 0;
    unsigned long peak_kb = 0;
    std::vector<double> kb_per_source{};
};

/// All in turn, `rounds` times, so that what else the machine does meets each of them.
void compare(std::vector<contestant> all, unsigned count, unsigned rounds,
             const std::function<unsigned long(std::uint16_t)>& send)
{
    for (unsigned round = 0; round < rounds; ++round)
        for (contestant& one : all) {
            const auto port = next_port(count);
            unsigned long sent = 0;
            const auto told = bench::measure({one.element, port, count, one.per_buffer}, [&] { sent = send(port); });
            one.sent += sent;
            one.received += told.received;
            one.us_per_datagram.push_back(told.cpu_us / static_cast<double>(std::max(told.received, 1UL)));
            one.ratios.push_back(one.us_per_datagram.back() / all.front().us_per_datagram[round]);
            one.peak_kb = std::max(one.peak_kb, told.peak_kb);
            one.kb_per_source.push_back(told.kb_per_source);
        }
    for (const contestant& one : all) {
        const auto lost = static_cast<double>(one.sent) - static_cast<double>(one.received);
        std::printf("  %-50s %7.3f us CPU/datagram  ratio %5.3f  %8.0f of %lu lost (%.3f %%)", one.element.c_str(),
                    median(one.us_per_datagram), median(one.ratios), lost, one.sent,
                    100 * lost / static_cast<double>(one.sent));
        if (count > 1)
            std::printf("  %6.1f KB/source\n", median(one.kb_per_source));
        else
            std::printf("  %5.1f MB peak\n", static_cast<double>(one.peak_kb) / 1024);
    }
    std::fflush(stdout);
}

void one_source(unsigned rounds)
{
    for (const unsigned rate : {5000, 20000, 50000, 100000, 300000}) {
        std::printf("%u datagrams/s of 1316 bytes, %.0f Mbit/s, %u times %.0f s\n", rate, rate * 1316 * 8 / 1e6, rounds,
                    seconds_per_run);
        const auto bytes = bench::transport_packets(static_cast<std::size_t>(rate * seconds_per_run) * 7);
        compare({{"udpsrc", 1}, {"zqnetsource", 1}, {"zqudpsrc", 0}}, 1, rounds, [&](std::uint16_t port) {
            bench::send_paced(bytes, 1316, static_cast<double>(rate) / ticks_per_second, port);
            return bytes.size() / 1316;
        });
    }
}

void many_sources(unsigned count, unsigned rounds)
{
    for (const unsigned rate : {300, 1000}) {
        std::printf("%u sources, each with %u datagrams/s of 1316 bytes, %u times %.0f s\n", count, rate, rounds,
                    seconds_per_run);
        compare({{"udpsrc", 1}, {"zqnetsource", 1}, {"zqudpsrc", 0}, {"zqudpsrc batch-time=10", 0}}, count, rounds,
                [&](std::uint16_t port) { return bench::send_to_many(port, count, rate, seconds_per_run); });
    }
}

/// Both roads to a PLP; a "datagram" is 1316 bytes of the PLP.
void with_t2mi(unsigned rounds)
{
    for (const unsigned rate : {50, 100, 500}) {
        const auto groups = static_cast<unsigned long>(rate * seconds_per_run * 1e6 / 8 / 1316);
        const auto stream = bench::t2mi_stream(7 * groups);
        const double megabits = static_cast<double>(stream.size()) * 8 / 1e6;
        std::printf("T2-MI at %3u Mbit/s, %u times %.0f Mbit\n", rate, rounds, megabits);
        compare({{"zqnetsource input_type=1 plp=0", 1},
                 {"zqnetsource port=PORT ! zqt2midemux name=d d.plp_0", 0},
                 {"zqudpsrc port=PORT ! zqt2midemux name=d d.plp_0", 0}},
                1, rounds, [&](std::uint16_t port) {
                    bench::send_paced(stream, 1316, rate * 1e6 / 8 / 1316 / ticks_per_second, port);
                    return groups;
                });
    }
}
} // namespace

/// element_bench [one|100|200|t2mi] [ROUNDS]
int main(int argc, char** argv)
{
    if (const int code = bench::receive_if_asked(argc, argv); code >= 0)
        return code;
    const std::string part = argc > 1 ? argv[1] : "";
    const auto rounds = argc > 2 ? static_cast<unsigned>(std::max(std::atoi(argv[2]), 1)) : 3;
    if (part.empty() || part == "one")
        one_source(rounds);
    for (const unsigned count : {100, 200})
        if (part.empty() || part == std::to_string(count))
            many_sources(count, rounds);
    if (part.empty() || part == "t2mi")
        with_t2mi(rounds);
    return 0;
}
