// SPDX-License-Identifier: LGPL-2.1-or-later
// `zqnetsource ! fakesink` and `zqudpsrc ! fakesink` beside `udpsrc ! fakesink`: the same paced datagrams on loopback,
// each receiver in a process of its own, one after the other. Prints CPU time per datagram, loss and peak memory, and
// the ratio of the two. Then the element with T2-MI: CPU time per megabit and loss.
#include "tools/t2mi/t2mi_encapsulator.h"
#include "zq_mpegts/zq_gst_udp_src.h"
#include "zq_net_source/zq_gst_net_source.h"

#include <gst/gst.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace
{
struct load
{
    std::size_t size;
    unsigned rate; // datagrams per second, a multiple of ticks_per_second
};

constexpr unsigned ticks_per_second = 5000;
constexpr load loads[] = {{1316, 5000}, {1316, 20000}, {1316, 50000}, {1316, 100000}, {188, 20000}};
constexpr unsigned seconds_per_load = 5;
constexpr unsigned rounds = 3; // of both receivers in turn, so that what else the machine does meets both

struct result
{
    double cpu_us = 0;
    unsigned long datagrams = 0;
    unsigned long peak_kb = 0;
};

double cpu_us()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto us = [](const timeval& time) { return 1e6 * static_cast<double>(time.tv_sec) + time.tv_usec; };
    return us(usage.ru_utime) + us(usage.ru_stime);
}

unsigned long peak_memory_kb()
{
    std::ifstream status{"/proc/self/status"};
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return std::strtoul(line.c_str() + 6, nullptr, 10);
    return 0;
}

unsigned long rendered_buffers(GstElement* sink)
{
    GstStructure* stats = nullptr;
    g_object_get(sink, "stats", &stats, nullptr);
    guint64 rendered = 0;
    gst_structure_get_uint64(stats, "rendered", &rendered);
    gst_structure_free(stats);
    return rendered;
}

GstPadProbeReturn add_size(GstPad*, GstPadProbeInfo* info, gpointer bytes)
{
    const bool list = (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0;
    *static_cast<unsigned long*>(bytes) += list ? gst_buffer_list_calculate_size(GST_PAD_PROBE_INFO_BUFFER_LIST(info))
                                                : gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info));
    return GST_PAD_PROBE_OK;
}

void count_bytes(GstElement* sink, unsigned long& bytes)
{
    GstPad* const pad = gst_element_get_static_pad(sink, "sink");
    gst_pad_add_probe(pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
                      add_size, &bytes, nullptr);
    gst_object_unref(pad);
}

/// The receiving process: plays until its standard input ends, then prints one line of figures. What it counts is
/// what the sink rendered, `per_buffer` datagrams or packets in each buffer: loss behind the socket counts too. With
/// `per_buffer` 0 the datagrams of 1316 bytes are told from the bytes, whose counting is at the receiver's cost.
int receive(const std::string& element, const std::string& port, unsigned long per_buffer)
{
    g_set_print_handler([](const gchar*) {});
    gst_init(nullptr, nullptr);
    zq_register_elements(nullptr);
    zq_register_udp_src(nullptr);
    GError* error = nullptr;
    GstElement* pipeline =
        gst_parse_launch((element + " port=" + port + " ! fakesink name=sink sync=false").c_str(), &error);
    if (error != nullptr) {
        std::fprintf(stderr, "%s\n", error->message);
        return 1;
    }
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    unsigned long bytes = 0;
    if (per_buffer == 0)
        count_bytes(sink, bytes);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    std::this_thread::sleep_for(300ms);
    const double before = cpu_us();
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    const double used = cpu_us() - before;
    std::printf("%f %lu %lu\n", used, per_buffer == 0 ? bytes / 1316 : rendered_buffers(sink) * per_buffer,
                peak_memory_kb());
    std::fflush(stdout);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(sink);
    gst_object_unref(pipeline);
    return 0;
}

class loopback_socket
{
public:
    explicit loopback_socket(std::uint16_t port) : descriptor{::socket(AF_INET, SOCK_DGRAM, 0)}
    {
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof(target));
    }
    ~loopback_socket() { ::close(descriptor); }
    loopback_socket(const loopback_socket&) = delete;
    loopback_socket& operator=(const loopback_socket&) = delete;

    const int descriptor;
};

/// Sends all of `bytes` in datagrams, `per_tick` of them every 200 us.
void send_paced(const std::vector<unsigned char>& bytes, std::size_t datagram_size, double per_tick, std::uint16_t port)
{
    const loopback_socket socket{port};
    std::vector<iovec> parts;
    for (std::size_t at = 0; at < bytes.size(); at += datagram_size)
        parts.push_back({const_cast<unsigned char*>(bytes.data() + at), std::min(datagram_size, bytes.size() - at)});
    std::vector<mmsghdr> messages(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    auto next = steady_clock::now();
    double due = 0;
    for (std::size_t sent = 0; sent < messages.size();) {
        std::this_thread::sleep_until(next += 200us);
        due += per_tick;
        const auto count = std::min(messages.size() - sent, static_cast<std::size_t>(due) - sent);
        ::sendmmsg(socket.descriptor, messages.data() + sent, static_cast<unsigned>(count), 0);
        sent += count;
    }
}

/// Figures of one receiver under the traffic that `send` makes.
template <class Send>
result measure(const std::string& element, unsigned long per_buffer, std::uint16_t port, const Send& send)
{
    int to_child[2], from_child[2];
    if (::pipe(to_child) != 0 || ::pipe(from_child) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(to_child[0], STDIN_FILENO);
        ::dup2(from_child[1], STDOUT_FILENO);
        for (const int end : {to_child[0], to_child[1], from_child[0], from_child[1]})
            ::close(end);
        ::execl("/proc/self/exe", "element_bench", "--receive", element.c_str(), std::to_string(port).c_str(),
                std::to_string(per_buffer).c_str(), nullptr);
        ::_exit(127);
    }
    ::close(to_child[0]);
    ::close(from_child[1]);
    FILE* const answers = ::fdopen(from_child[0], "r");
    char word[16] = "";
    result figures;
    if (std::fscanf(answers, "%15s", word) == 1 && std::strcmp(word, "ready") == 0) {
        send();
        std::this_thread::sleep_for(200ms);
    }
    ::close(to_child[1]);
    if (std::fscanf(answers, "%lf %lu %lu", &figures.cpu_us, &figures.datagrams, &figures.peak_kb) != 3)
        std::fprintf(stderr, "%s gave no figures\n", element.c_str());
    std::fclose(answers);
    ::waitpid(child, nullptr, 0);
    return figures;
}

void print(const std::string& element, const result& figures, unsigned long sent)
{
    std::printf("  %-12s %7.3f us CPU/datagram  %8lu of %lu lost (%.3f %%)  %5.1f MB peak\n", element.c_str(),
                figures.cpu_us / static_cast<double>(figures.datagrams), sent - figures.datagrams, sent,
                100.0 * static_cast<double>(sent - figures.datagrams) / static_cast<double>(sent),
                static_cast<double>(figures.peak_kb) / 1024);
}

void compare_with_udpsrc(const load& work, std::uint16_t port)
{
    // zqnetsource gathers at least 1316 bytes in a buffer. Whole groups only, so that nothing waits in an open one; of
    // a group that is broken by loss the rest counts as lost too.
    const unsigned long per_buffer = (1316 + work.size - 1) / work.size;
    const unsigned long sent = static_cast<unsigned long>(work.rate) * seconds_per_load / per_buffer * per_buffer;
    std::printf("%u datagrams/s of %zu bytes, %.0f Mbit/s, %u times %u s\n", work.rate, work.size,
                static_cast<double>(work.rate) * static_cast<double>(work.size) * 8 / 1e6, rounds, seconds_per_load);
    const std::vector<unsigned char> bytes(work.size * sent, 0x47);
    const auto add = [&](result& sum, const std::string& element, unsigned long in_each, std::uint16_t to) {
        const auto figures = measure(element, in_each, to, [&] {
            send_paced(bytes, work.size, static_cast<double>(work.rate) / ticks_per_second, to);
        });
        sum.cpu_us += figures.cpu_us;
        sum.datagrams += figures.datagrams;
        sum.peak_kb = std::max(sum.peak_kb, figures.peak_kb);
    };
    result peer, ours, second;
    for (unsigned round = 0; round < rounds; ++round) {
        add(peer, "udpsrc", 1, port);
        add(ours, "zqnetsource", per_buffer, static_cast<std::uint16_t>(port + 1));
        if (work.size == 1316)
            add(second, "zqudpsrc", 0, static_cast<std::uint16_t>(port + 2));
    }
    print("udpsrc", peer, rounds * sent);
    print("zqnetsource", ours, rounds * sent);
    const auto ratio = [&peer](const result& figures) {
        return figures.cpu_us / static_cast<double>(figures.datagrams) /
               (peer.cpu_us / static_cast<double>(peer.datagrams));
    };
    if (second.datagrams > 0)
        print("zqudpsrc", second, rounds * sent);
    std::printf("  ratio of CPU  %5.3f zqnetsource", ratio(ours));
    if (second.datagrams > 0)
        std::printf("  %5.3f zqudpsrc", ratio(second));
    std::puts("");
}

/// A T2-MI stream with one PLP of `packets` packets.
std::vector<unsigned char> t2mi_stream(std::size_t packets)
{
    std::vector<unsigned char> stream;
    t2mi::t2mi_encapsulator encapsulator{
        {}, [&](const unsigned char* packet) { stream.insert(stream.end(), packet, packet + 188); }};
    if (!encapsulator.add_plp(0))
        throw std::logic_error("no PLP");
    unsigned char packet[188] = {0x47, 0x01, 0x00, 0x10};
    for (std::size_t i = 0; i < packets; ++i) {
        packet[4] = static_cast<unsigned char>(i);
        if (!encapsulator.push(0, packet))
            throw std::logic_error("no packet");
    }
    encapsulator.flush();
    return stream;
}

void measure_t2mi(unsigned megabits_per_second, std::uint16_t port)
{
    const std::size_t packets = std::size_t{megabits_per_second} * seconds_per_load * 1000000 / 8 / 188 / 7 * 7;
    const auto stream = t2mi_stream(packets);
    const double megabits = static_cast<double>(stream.size()) * 8 / 1e6;
    const auto figures = measure("zqnetsource input_type=1 plp=0", 7, port, [&] {
        send_paced(stream, 1316, megabits_per_second * 1e6 / 8 / 1316 / ticks_per_second, port);
    });
    std::printf("T2-MI at %3u Mbit/s, %.0f Mbit in all: %6.2f us CPU/Mbit, %lu of %zu packets lost, %.1f MB peak\n",
                megabits_per_second, megabits, figures.cpu_us / megabits, packets - figures.datagrams, packets,
                static_cast<double>(figures.peak_kb) / 1024);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 5 && std::strcmp(argv[1], "--receive") == 0)
        return receive(argv[2], argv[3], std::strtoul(argv[4], nullptr, 10));

    std::uint16_t port = 23456;
    for (const auto& work : loads) {
        compare_with_udpsrc(work, port);
        port = static_cast<std::uint16_t>(port + 3);
        std::fflush(stdout);
    }
    for (const unsigned rate : {50, 100, 500}) {
        measure_t2mi(rate, port++);
        std::fflush(stdout);
    }
    return 0;
}
