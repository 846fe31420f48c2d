// SPDX-License-Identifier: LGPL-2.1-or-later
// CPU time per megabit of zqt2midemux alone, beside that of what `zqnetsource input_type=1` hands its datagrams to: the
// same datagrams, in memory, in turn.
#include "t2mi_stream.h"
#include "zq_mpegts/zq_gst_t2mi_demux.h"
#include "zq_net_source/zq_net_buffer_pool.h"
#include "zq_net_source/zq_t2mi_provider.h"

#include <gst/gst.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

namespace
{
/// Of this thread, in which both work.
double cpu_us()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e6 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_nsec);
}

unsigned long bytes_out = 0;

GstFlowReturn take_buffer(GstPad*, GstObject*, GstBuffer* buffer)
{
    bytes_out += gst_buffer_get_size(buffer);
    gst_buffer_unref(buffer);
    return GST_FLOW_OK;
}

GstFlowReturn take_list(GstPad*, GstObject*, GstBufferList* list)
{
    bytes_out += gst_buffer_list_calculate_size(list);
    gst_buffer_list_unref(list);
    return GST_FLOW_OK;
}

GstPad* end_pad()
{
    GstPad* const pad = gst_pad_new("sink", GST_PAD_SINK);
    gst_pad_set_chain_function(pad, take_buffer);
    gst_pad_set_chain_list_function(pad, take_list);
    gst_pad_set_active(pad, TRUE);
    return pad;
}

void begin_stream(GstPad* source)
{
    gst_pad_set_active(source, TRUE);
    gst_pad_push_event(source, gst_event_new_stream_start("bench"));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_push_event(source, gst_event_new_segment(&segment));
}

class provider_road
{
public:
    explicit provider_road(const std::vector<unsigned char>& stream) : m_stream{stream}
    {
        gst_pad_link(m_pad.pad.get(), end_pad());
        begin_stream(m_pad.pad.get());
    }
    void feed()
    {
        for (std::size_t at = 0; at < m_stream.size(); at += 1316)
            m_provider.push_data(at, m_stream.data() + at, std::min<std::size_t>(1316, m_stream.size() - at), true);
    }

private:
    std::vector<unsigned char> m_stream;
    zq_net_pad m_pad{zq_pad_pointer{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}};
    zq_net_statistics m_statistics;
    zq_t2mi_provider m_provider{m_pad, create_net_buffer_pool(0, 0, 0), m_statistics, 0};
};

class demux_road
{
public:
    explicit demux_road(const std::vector<unsigned char>& stream)
    {
        g_object_set(m_demux, "plp", 0, nullptr);
        const auto link = +[](GstElement*, GstPad* pad) { gst_pad_link(pad, end_pad()); };
        g_signal_connect(m_demux, "pad-added", G_CALLBACK(link), nullptr);
        GstPad* const sink = gst_element_get_static_pad(m_demux, "sink");
        gst_pad_link(m_source, sink);
        gst_object_unref(sink);
        gst_element_set_state(m_demux, GST_STATE_PLAYING);
        begin_stream(m_source);
        for (std::size_t at = 0; at < stream.size(); at += 1316)
            m_datagrams.push_back(
                gst_buffer_new_memdup(stream.data() + at, std::min<std::size_t>(1316, stream.size() - at)));
    }
    ~demux_road()
    {
        gst_element_set_state(m_demux, GST_STATE_NULL);
        for (GstBuffer* const datagram : m_datagrams)
            gst_buffer_unref(datagram);
        gst_object_unref(m_source);
        gst_object_unref(m_demux);
    }
    demux_road(const demux_road&) = delete;
    demux_road& operator=(const demux_road&) = delete;

    void feed()
    {
        for (GstBuffer* const datagram : m_datagrams)
            gst_pad_push(m_source, gst_buffer_ref(datagram));
    }

private:
    GstElement* m_demux = GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("zqt2midemux", nullptr)));
    GstPad* m_source = GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)));
    std::vector<GstBuffer*> m_datagrams;
};

template <class Road>
double time_of(Road& road)
{
    const double begin = cpu_us();
    road.feed();
    return cpu_us() - begin;
}

void compare(unsigned plps, unsigned pairs)
{
    const auto stream = bench::t2mi_stream(20000, plps);
    provider_road one{stream};
    demux_road other{stream};
    bytes_out = 0;
    one.feed();
    const unsigned long by_one = std::exchange(bytes_out, 0);
    other.feed();
    const unsigned long by_other = std::exchange(bytes_out, 0);
    double time_of_one = 0, time_of_other = 0;
    std::vector<double> ratios;
    for (unsigned pair = 0; pair < pairs; ++pair) {
        const double first = time_of(one), second = time_of(other);
        time_of_one += first;
        time_of_other += second;
        ratios.push_back(second / first);
    }
    std::sort(ratios.begin(), ratios.end());
    const double megabits = pairs * static_cast<double>(stream.size()) * 8 / 1e6;
    std::printf("one of %u PLPs, us CPU/Mbit: provider of input_type=1 %.2f (%lu bytes out), zqt2midemux %.2f (%lu), "
                "median of ratios %.3f\n",
                plps, time_of_one / megabits, by_one, time_of_other / megabits, by_other, ratios[pairs / 2]);
}
} // namespace

int main(int argc, char** argv)
{
    g_set_print_handler([](const gchar*) {});
    gst_init(&argc, &argv);
    zq_register_t2mi_demux(nullptr);
    // Fewer rounds for callgrind.
    const unsigned pairs = argc > 1 ? static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)) : 100;
    for (const unsigned plps : {1U, 4U})
        compare(plps, std::max(pairs, 1U));
    return 0;
}
