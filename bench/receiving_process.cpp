// SPDX-License-Identifier: LGPL-2.1-or-later
#include "receiving_process.h"

#include "zq_mpegts/zq_gst_t2mi_demux.h"
#include "zq_mpegts/zq_gst_udp_src.h"
#include "zq_net_source/zq_gst_net_source.h"

#include <gst/gst.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

using namespace std::chrono_literals;

namespace bench
{
namespace
{
double cpu_us()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto us = [](const timeval& time) { return 1e6 * static_cast<double>(time.tv_sec) + time.tv_usec; };
    return us(usage.ru_utime) + us(usage.ru_stime);
}

/// A line of /proc/self/status, in kilobytes.
unsigned long memory_kb(const std::string& name)
{
    std::ifstream status{"/proc/self/status"};
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name, 0) == 0)
            return std::strtoul(line.c_str() + name.size(), nullptr, 10);
    return 0;
}

/// In place of PORT, or behind all.
std::string with_port(std::string element, const std::string& port)
{
    const std::string place = "PORT";
    const auto at = element.find(place);
    return at == std::string::npos ? element + " port=" + port : element.replace(at, place.size(), port);
}

/// Sources and sinks, and what the sinks had.
class pipeline
{
public:
    explicit pipeline(const receiver& wanted) : m_wanted{wanted}
    {
        g_set_print_handler([](const gchar*) {});
        std::string description;
        for (unsigned i = 0; i < wanted.count; ++i)
            description += with_port(wanted.element, std::to_string(wanted.first_port + i)) +
                           " ! fakesink sync=false async=false name=sink" + std::to_string(i) + "\n";
        GError* error = nullptr;
        m_bin = gst_parse_launch(description.c_str(), &error);
        if (error != nullptr)
            throw std::runtime_error(error->message);
        for (unsigned i = 0; wanted.per_buffer == 0 && i < wanted.count; ++i)
            count_bytes(i);
        gst_element_set_state(m_bin, GST_STATE_PLAYING);
    }
    ~pipeline()
    {
        gst_element_set_state(m_bin, GST_STATE_NULL);
        gst_object_unref(m_bin);
    }
    pipeline(const pipeline&) = delete;
    pipeline& operator=(const pipeline&) = delete;

    unsigned long received() const
    {
        unsigned long buffers = 0;
        for (unsigned i = 0; i < m_wanted.count; ++i)
            buffers += rendered(i);
        return m_wanted.per_buffer == 0 ? m_bytes / 1316 : buffers * m_wanted.per_buffer;
    }

private:
    unsigned long rendered(unsigned index) const
    {
        GstElement* const found = sink(index);
        GstStructure* stats = nullptr;
        g_object_get(found, "stats", &stats, nullptr);
        guint64 rendered = 0;
        gst_structure_get_uint64(stats, "rendered", &rendered);
        gst_structure_free(stats);
        gst_object_unref(found);
        return rendered;
    }
    GstElement* sink(unsigned index) const
    {
        return gst_bin_get_by_name(GST_BIN(m_bin), ("sink" + std::to_string(index)).c_str());
    }
    void count_bytes(unsigned index)
    {
        GstElement* const found = sink(index);
        GstPad* const pad = gst_element_get_static_pad(found, "sink");
        gst_pad_add_probe(pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
                          add_size, &m_bytes, nullptr);
        gst_object_unref(pad);
        gst_object_unref(found);
    }
    static GstPadProbeReturn add_size(GstPad*, GstPadProbeInfo* info, gpointer bytes)
    {
        const bool list = (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0;
        *static_cast<std::atomic<unsigned long>*>(bytes) +=
            list ? gst_buffer_list_calculate_size(GST_PAD_PROBE_INFO_BUFFER_LIST(info))
                 : gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info));
        return GST_PAD_PROBE_OK;
    }

    receiver m_wanted;
    GstElement* m_bin = nullptr;
    std::atomic<unsigned long> m_bytes{0};
};

/// Plays until standard input ends, then prints one line of figures.
int receive(const receiver& wanted)
{
    gst_init(nullptr, nullptr);
    zq_register_elements(nullptr);
    zq_register_udp_src(nullptr);
    zq_register_t2mi_demux(nullptr);
    {
        // What the first one costs once is no source's.
        receiver first = wanted;
        first.count = 1;
        const pipeline warm{first};
    }
    const auto without = memory_kb("VmRSS:");
    unsigned long resident = 0;
    {
        const pipeline playing{wanted};
        std::this_thread::sleep_for(300ms);
        const double before = cpu_us();
        std::puts("ready");
        std::fflush(stdout);
        while (std::getchar() != EOF) {
        }
        resident = memory_kb("VmRSS:");
        std::printf("%f %lu %lu ", cpu_us() - before, playing.received(), memory_kb("VmHWM:"));
    }
    std::printf("%f\n", (static_cast<double>(resident) - static_cast<double>(without)) / wanted.count);
    std::fflush(stdout);
    return 0;
}
} // namespace

int receive_if_asked(int argc, char** argv)
{
    if (argc != 6 || std::strcmp(argv[1], "--receive") != 0)
        return -1;
    const auto number = [argv](int index) { return std::strtoul(argv[index], nullptr, 10); };
    return receive({argv[2], static_cast<std::uint16_t>(number(3)), static_cast<unsigned>(number(4)), number(5)});
}

figures measure(const receiver& wanted, const std::function<void()>& send)
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
        ::execl("/proc/self/exe", "element_bench", "--receive", wanted.element.c_str(),
                std::to_string(wanted.first_port).c_str(), std::to_string(wanted.count).c_str(),
                std::to_string(wanted.per_buffer).c_str(), nullptr);
        ::_exit(127);
    }
    ::close(to_child[0]);
    ::close(from_child[1]);
    FILE* const answers = ::fdopen(from_child[0], "r");
    char word[16] = "";
    figures told;
    if (std::fscanf(answers, "%15s", word) == 1 && std::strcmp(word, "ready") == 0) {
        send();
        std::this_thread::sleep_for(200ms);
    }
    ::close(to_child[1]);
    if (std::fscanf(answers, "%lf %lu %lu %lf", &told.cpu_us, &told.received, &told.peak_kb, &told.kb_per_source) != 4)
        std::fprintf(stderr, "%s gave no figures\n", wanted.element.c_str());
    std::fclose(answers);
    ::waitpid(child, nullptr, 0);
    return told;
}
} // namespace bench
