// SPDX-License-Identifier: LGPL-2.1-or-later
// zq-monitor as a process with many streams on loopback, beside `udpsrc ! tsparse ! fakesink` for each of them under
// the same load: share of a core, datagrams lost, memory a stream.
#include "paced_load.h"
#include "receiving_process.h"
#include "tools/monitor/demo/demo_multiplex.h"
#include "tools/monitor/http_client.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
struct load
{
    unsigned streams = 1;
    std::uint64_t bit_rate = 10'000'000;
    std::chrono::seconds length{5};

    [[nodiscard]] unsigned datagrams_per_second() const { return static_cast<unsigned>(bit_rate / 8 / 1316); }
};

/// What every port is sent.
std::vector<unsigned char> stream_of(const load& wanted)
{
    monitor::demo_multiplex source({}, wanted.bit_rate);
    monitor::packet_source::timed_packet packet;
    std::vector<unsigned char> bytes;
    while (source.next(packet) && packet.due < wanted.length)
        bytes.insert(bytes.end(), packet.bytes.begin(), packet.bytes.end());
    return bytes;
}

/// zq-monitor, watching ports from `first_port` on.
class monitor_process
{
public:
    monitor_process(std::uint16_t first_port, unsigned streams)
    {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0)
            std::abort();
        m_child = fork();
        if (m_child == 0) {
            dup2(ends[1], STDERR_FILENO);
            std::vector<std::string> words{ZQ_MONITOR_TOOL, "--quiet", "--http", "0"};
            for (unsigned at = 0; at < streams; ++at)
                words.push_back(std::to_string(at) + "=udp://127.0.0.1:" + std::to_string(first_port + at));
            std::vector<char*> arguments;
            for (auto& word : words)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            execv(arguments[0], arguments.data());
            _exit(127);
        }
        close(ends[1]);
        std::FILE* const told = fdopen(ends[0], "r");
        unsigned port = 0;
        if (std::fscanf(told, "zq-monitor: http://127.0.0.1:%u/", &port) != 1)
            std::abort();
        m_page = static_cast<std::uint16_t>(port);
        m_errors = told;
        while (monitor_http::ask(m_page, "/readyz").find("200 OK") == std::string::npos)
            std::this_thread::sleep_for(std::chrono::milliseconds{50});
    }
    ~monitor_process()
    {
        kill(m_child, SIGTERM);
        waitpid(m_child, nullptr, 0);
        std::fclose(m_errors);
    }
    monitor_process(const monitor_process&) = delete;
    monitor_process& operator=(const monitor_process&) = delete;

    [[nodiscard]] std::uint16_t page() const { return m_page; }

    /// Of the process and its threads, in seconds.
    [[nodiscard]] double cpu() const
    {
        std::ifstream file("/proc/" + std::to_string(m_child) + "/stat");
        std::string word;
        double ticks = 0;
        constexpr int user_time = 14, system_time = 15;
        for (int at = 1; at <= system_time && file >> word; ++at)
            if (at >= user_time)
                ticks += std::atof(word.c_str());
        return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
    }
    [[nodiscard]] double resident_mb() const
    {
        std::ifstream file("/proc/" + std::to_string(m_child) + "/statm");
        double size = 0, resident = 0;
        file >> size >> resident;
        return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
    }
    /// The sum of a metric over all streams.
    [[nodiscard]] double sum(const std::string& metric) const
    {
        std::istringstream lines(monitor_http::ask(m_page, "/metrics"));
        double all = 0;
        for (std::string line; std::getline(lines, line);)
            if (line.compare(0, metric.size() + 1, metric + '{') == 0)
                all += std::atof(line.substr(line.rfind(' ')).c_str());
        return all;
    }
    /// Once all that were sent are in it, or it no longer grows: what it shows is up to two seconds old.
    [[nodiscard]] double sum_of_datagrams(unsigned long sent) const
    {
        double all = 0;
        constexpr int looks = 15;
        for (int look = 0; look < looks && all < static_cast<double>(sent); ++look) {
            std::this_thread::sleep_for(std::chrono::milliseconds{200});
            all = sum("ts_input_datagrams_total");
        }
        return all;
    }

private:
    pid_t m_child = -1;
    std::FILE* m_errors = nullptr;
    std::uint16_t m_page = 0;
};

/// Read the list's events until told to end.
class viewers
{
public:
    viewers(std::uint16_t page, unsigned count)
    {
        for (unsigned at = 0; at < count; ++at)
            m_threads.emplace_back([page, this] {
                const monitor_http::connection to(page);
                to.send("GET /live HTTP/1.1\r\nHost: x\r\n\r\n");
                while (!m_ended)
                    (void)to.receive("\n\n");
            });
    }
    ~viewers()
    {
        m_ended = true;
        for (auto& thread : m_threads)
            thread.join();
    }
    viewers(const viewers&) = delete;
    viewers& operator=(const viewers&) = delete;

private:
    std::atomic<bool> m_ended{false};
    std::vector<std::thread> m_threads;
};

/// Ports that no run has had; not those that the system gives away.
std::uint16_t take_ports(unsigned count)
{
    static std::uint16_t next = 20000;
    const std::uint16_t first = next;
    next = static_cast<std::uint16_t>(next + count);
    return first;
}

/// Sends to all ports, and gives the number of datagrams; `seconds` becomes how long it took.
unsigned long send(const load& wanted, std::vector<unsigned char>& bytes, std::uint16_t port, double& seconds)
{
    const auto begin = std::chrono::steady_clock::now();
    const auto sent = bench::send_stream_to_many(bytes, port, wanted.streams, wanted.datagrams_per_second());
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return sent;
}

/// The CPU time, in seconds.
double measure_monitor(const load& wanted, std::vector<unsigned char>& bytes, unsigned watching)
{
    const std::uint16_t port = take_ports(wanted.streams);
    const monitor_process watched(port, wanted.streams);
    const double idle_mb = watched.resident_mb();
    double cpu = 0;
    double seconds = 0;
    unsigned long sent = 0;
    {
        const viewers all(watched.page(), watching);
        const double before = watched.cpu();
        sent = send(wanted, bytes, port, seconds);
        cpu = watched.cpu() - before;
    }
    const double received = watched.sum_of_datagrams(sent);
    const double mb = watched.resident_mb();
    std::printf("%3u streams of %3.0f Mbit/s, %2u viewers: %.3f of a core in %.1f s, %.0f of %lu datagrams lost (%.0f "
                "dropped by the kernel), %.2f MB a stream (%.2f MB before data, %.2f MB then)\n",
                wanted.streams, static_cast<double>(wanted.bit_rate) / 1e6, watching, cpu / seconds, seconds,
                static_cast<double>(sent) - received, sent, watched.sum("ts_socket_drops_total"), mb / wanted.streams,
                idle_mb, mb);
    std::fflush(stdout);
    return cpu;
}

void measure(const load& wanted, unsigned watching, bool with_peer)
{
    auto bytes = stream_of(wanted);
    const double cpu = measure_monitor(wanted, bytes, watching);
    if (!with_peer)
        return;
    const std::uint16_t port = take_ports(wanted.streams);
    unsigned long sent = 0;
    double seconds = 0;
    const auto peer = bench::measure({"udpsrc port=PORT ! tsparse", port, wanted.streams, 0},
                                     [&] { sent = send(wanted, bytes, port, seconds); });
    const double peer_cpu = peer.cpu_us / 1e6;
    std::printf("    udpsrc ! tsparse ! fakesink: %.3f of a core in %.1f s, %ld of %lu datagrams lost, ratio of CPU "
                "times %.3f, "
                "%.2f MB a stream\n",
                peer_cpu / seconds, seconds, static_cast<long>(sent) - static_cast<long>(peer.received), sent,
                cpu / peer_cpu, peer.kb_per_source / 1024);
    std::fflush(stdout);
}
} // namespace

/// many_streams_bench [STREAMS [VIEWERS [MBIT_PER_SECOND]]]: without the peer where VIEWERS are given.
int main(int argc, char** argv)
{
    if (const int code = bench::receive_if_asked(argc, argv); code >= 0)
        return code;
    std::signal(SIGPIPE, SIG_IGN);
    const auto number = [&](int index) {
        return index < argc ? static_cast<unsigned>(std::strtoul(argv[index], nullptr, 10)) : 0;
    };
    constexpr std::uint64_t mbit = 1'000'000;
    load fast;
    fast.bit_rate = 500 * mbit;
    fast.length = std::chrono::seconds{2}; // all of it lies in memory
    if (argc > 1) {
        load wanted = argc > 3 ? fast : load{};
        wanted.streams = number(1);
        wanted.bit_rate = argc > 3 ? number(3) * mbit : wanted.bit_rate;
        measure(wanted, number(2), argc == 2);
        return 0;
    }
    for (const unsigned streams : {1U, 20U, 200U}) {
        load wanted;
        wanted.streams = streams;
        measure(wanted, 0, true);
        if (streams == 200)
            measure(wanted, 20, false);
    }
    measure(fast, 0, true);
    return 0;
}
