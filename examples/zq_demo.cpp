// SPDX-License-Identifier: LGPL-2.1-or-later
// The element at work with nothing but this machine: two programmes are encoded live, wrapped as two PLPs of one T2-MI
// stream and sent to a loopback group; one of them also goes out as a plain transport stream. Three `zqnetsource`
// elements receive them; each recording is kept, decoded, and its last picture saved.
#include "tools/t2mi/t2mi_encapsulator.h"
#include "zq_net_source/zq_net_statistics.h"

#include <gst/gst.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace
{
constexpr const char* group = "239.255.42.42";

/// Datagrams of 7 packets to one address, through loopback.
class datagram_sender
{
public:
    datagram_sender(const char* address, std::uint16_t port) : m_socket{::socket(AF_INET, SOCK_DGRAM, 0)}
    {
        m_target.sin_family = AF_INET;
        m_target.sin_port = htons(port);
        m_target.sin_addr.s_addr = ::inet_addr(address);
        const in_addr loopback{htonl(INADDR_LOOPBACK)};
        ::setsockopt(m_socket, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof(loopback));
    }
    ~datagram_sender() { ::close(m_socket); }
    datagram_sender(const datagram_sender&) = delete;
    datagram_sender& operator=(const datagram_sender&) = delete;

    void send(const unsigned char* packet)
    {
        m_datagram.insert(m_datagram.end(), packet, packet + 188);
        if (m_datagram.size() < std::size_t{7} * 188)
            return;
        ::sendto(m_socket, m_datagram.data(), m_datagram.size(), 0, reinterpret_cast<const sockaddr*>(&m_target),
                 sizeof(m_target));
        m_datagram.clear();
    }

private:
    int m_socket;
    sockaddr_in m_target{};
    std::vector<unsigned char> m_datagram;
};

std::uint16_t free_port()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    address.sin_family = AF_INET;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        address.sin_port = 0;
    ::close(socket);
    return ntohs(address.sin_port);
}

class pipeline
{
public:
    explicit pipeline(const std::string& description)
    {
        GError* error = nullptr;
        m_element = gst_parse_launch(description.c_str(), &error);
        if (error != nullptr)
            throw std::runtime_error(error->message);
    }
    ~pipeline()
    {
        gst_element_set_state(m_element, GST_STATE_NULL);
        gst_object_unref(m_element);
    }
    pipeline(const pipeline&) = delete;
    pipeline& operator=(const pipeline&) = delete;

    void play() { gst_element_set_state(m_element, GST_STATE_PLAYING); }

    GstElement* named(const char* name)
    {
        GstElement* found = gst_bin_get_by_name(GST_BIN(m_element), name);
        gst_object_unref(found); // the pipeline holds it
        return found;
    }

    /// Ends the stream and waits until the files are whole.
    void finish()
    {
        gst_element_send_event(m_element, gst_event_new_eos());
        GstBus* bus = gst_element_get_bus(m_element);
        const auto wanted = static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
        if (GstMessage* message = gst_bus_timed_pop_filtered(bus, 5 * GST_SECOND, wanted))
            gst_message_unref(message);
        gst_object_unref(bus);
    }

private:
    GstElement* m_element;
};

/// Both programmes' packets on their way out.
class transmitter
{
public:
    transmitter(std::uint16_t plain_port, std::uint16_t t2mi_port)
        : m_plain{"127.0.0.1", plain_port},
          m_t2mi{group, t2mi_port},
          m_encapsulator{options(), [this](const unsigned char* packet) { m_t2mi.send(packet); }}
    {
        if (!m_encapsulator.add_plp(0) || !m_encapsulator.add_plp(1))
            throw std::logic_error("PLP given twice");
    }

    void take(std::uint8_t plp, const unsigned char* packets, std::size_t size)
    {
        const std::lock_guard lock{m_mutex};
        m_encapsulator.advance(steady_clock::now() - m_start);
        for (std::size_t at = 0; at + 188 <= size; at += 188) {
            if (!m_encapsulator.push(plp, packets + at))
                continue;
            if (plp == 0)
                m_plain.send(packets + at);
        }
    }

private:
    static t2mi::t2mi_options options()
    {
        t2mi::t2mi_options chosen;
        chosen.bitrate = 8000000;
        return chosen;
    }

    std::mutex m_mutex;
    steady_clock::time_point m_start = steady_clock::now();
    datagram_sender m_plain, m_t2mi;
    t2mi::t2mi_encapsulator m_encapsulator;
};

/// A live encoder whose transport packets go to the transmitter as one PLP.
class programme
{
public:
    programme(transmitter& out, std::uint8_t plp, const char* pattern)
        : m_out{out},
          m_plp{plp},
          m_encoder{std::string{"videotestsrc is-live=true pattern="} + pattern +
                    " ! video/x-raw,format=I420,width=640,height=360,framerate=25/1 ! x264enc tune=zerolatency "
                    "speed-preset=ultrafast bitrate=1500 key-int-max=25 ! mpegtsmux alignment=7 ! "
                    "fakesink name=out sync=false signal-handoffs=true"}
    {
        g_signal_connect(m_encoder.named("out"), "handoff", G_CALLBACK(on_buffer), this);
        m_encoder.play();
    }

private:
    static void on_buffer(GstElement*, GstBuffer* buffer, GstPad*, gpointer self)
    {
        auto& sender = *static_cast<programme*>(self);
        GstMapInfo map;
        if (!gst_buffer_map(buffer, &map, GST_MAP_READ))
            return;
        sender.m_out.take(sender.m_plp, map.data, map.size);
        gst_buffer_unmap(buffer, &map);
    }

    transmitter& m_out;
    std::uint8_t m_plp;
    pipeline m_encoder;
};

/// `path` for multifilesink, which takes a percent sign for the place of a number.
std::string without_format(const std::string& path)
{
    std::string doubled;
    for (const char letter : path)
        doubled.append(letter == '%' ? 2 : 1, letter);
    return doubled;
}

/// One receiving element with its recording, decoder and picture.
struct receiver
{
    receiver(std::string shown, const std::string& properties, const std::filesystem::path& file)
        : title{std::move(shown)},
          recording{file.string() + ".ts"},
          picture{file.string() + ".png"},
          stages{"zqnetsource name=src " + properties +
                 " ! tee name=t   t. ! queue ! filesink name=recording async=false   t. ! queue ! capssetter "
                 "caps=video/mpegts,systemstream=true ! tsdemux ! h264parse ! avdec_h264 ! "
                 "videoconvert ! videorate ! "
                 "video/x-raw,framerate=1/1 ! pngenc ! multifilesink name=picture async=false"}
    {
        // Not in the description, whose syntax a file name could break.
        g_object_set(stages.named("recording"), "location", recording.c_str(), nullptr);
        g_object_set(stages.named("picture"), "location", without_format(picture).c_str(), nullptr);
        gpointer figures = nullptr;
        g_object_get(stages.named("src"), "statistics", &figures, nullptr);
        statistics = static_cast<const zq_base_statistics*>(figures);
        stages.play();
    }

    std::string title, recording, picture;
    pipeline stages;
    const zq_base_statistics* statistics;
};

void show(const std::vector<receiver*>& receivers, bool again, bool on_terminal)
{
    if (again && on_terminal)
        std::printf("\x1b[5A");
    std::printf("%-22s", "");
    for (const auto* one : receivers)
        std::printf("%-20s", one->title.c_str());
    std::puts("");
    for (std::size_t row = 0; row < 4; ++row) {
        std::printf("%-22s", receivers[0]->statistics->get_items()[row].first.c_str());
        for (const auto* one : receivers)
            std::printf("%-20s", one->statistics->get_items()[row].second.c_str());
        std::puts("");
    }
    std::fflush(stdout);
}

std::string contents(const std::string& path)
{
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

int judge(const std::vector<receiver*>& receivers)
{
    bool good = true;
    for (const auto* one : receivers) {
        const bool has_picture = !contents(one->picture).empty(), has_recording = !contents(one->recording).empty();
        good = good && has_picture && has_recording;
        std::printf("%-14s picture %s%s   recording %s%s\n", one->title.c_str(), one->picture.c_str(),
                    has_picture ? "" : " (MISSING)", one->recording.c_str(), has_recording ? "" : " (MISSING)");
    }
    if (contents(receivers[1]->picture) == contents(receivers[2]->picture)) {
        std::puts("the pictures of both PLPs are the same: something is wrong");
        good = false;
    }
    return good ? 0 : 1;
}

int run(int seconds, const std::filesystem::path& folder)
{
    std::filesystem::create_directories(folder);
    GstPlugin* plugin = gst_plugin_load_file(ZQ_PLUGIN, nullptr);
    if (plugin == nullptr)
        throw std::runtime_error("no plugin at " ZQ_PLUGIN);
    gst_object_unref(plugin);

    const auto plain_port = free_port(), t2mi_port = free_port();
    const std::string plain = "port=" + std::to_string(plain_port);
    const std::string t2mi =
        std::string{"address="} + group + " interface=127.0.0.1 port=" + std::to_string(t2mi_port) + " input_type=1";
    std::printf("plain transport stream: udp://127.0.0.1:%u   T2-MI with two PLPs: udp://%s:%u (loopback)\n\n",
                plain_port, group, t2mi_port);

    receiver from_plain{"plain", plain, folder / "plain"};
    receiver from_plp_0{"T2-MI, PLP 0", t2mi + " plp=0", folder / "plp-0"};
    receiver from_plp_1{"T2-MI, PLP 1", t2mi + " plp=1", folder / "plp-1"};
    const std::vector<receiver*> receivers{&from_plain, &from_plp_0, &from_plp_1};
    {
        transmitter out{plain_port, t2mi_port};
        const programme bars{out, 0, "smpte"}, ball{out, 1, "ball"};
        const bool on_terminal = ::isatty(STDOUT_FILENO) != 0;
        for (int second = 0; second < seconds; ++second) {
            std::this_thread::sleep_for(1s);
            show(receivers, second > 0, on_terminal);
        }
    }
    for (auto* one : receivers)
        one->stages.finish();
    std::puts("");
    return judge(receivers);
}
} // namespace

int main(int argc, char** argv)
{
    int seconds = 15;
    std::filesystem::path folder = "build/demo-output";
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--seconds" && i + 1 < argc)
            seconds = std::atoi(argv[++i]);
        else if (argument == "--output" && i + 1 < argc)
            folder = argv[++i];
        else {
            std::puts("zq_demo [--seconds N (15)] [--output FOLDER (build/demo-output)]");
            return argument == "--help" ? 0 : 2;
        }
    }
    g_set_print_handler([](const gchar*) {});
    gst_init(nullptr, nullptr);
    try {
        return run(seconds, folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zq_demo: %s\n", error.what());
        return 1;
    }
}
