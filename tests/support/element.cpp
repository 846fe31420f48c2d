// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/element.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

// AddressSanitizer asks for these. Stacks just whole enough that a leak can be told from the one block that GLib keeps
// from its initialisation on: they are half of what a process takes to start.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0:malloc_context_size=8";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() { return "leak:call_init"; }

namespace support
{
element make_source()
{
    GstElement* made = gst_element_factory_make("zqnetsource", nullptr);
    return element{made != nullptr ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr};
}

element parse(const std::string& description)
{
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.c_str(), &error);
    if (error != nullptr) {
        const std::string message = error->message;
        g_error_free(error);
        throw std::runtime_error(message);
    }
    return element{GST_ELEMENT(gst_object_ref_sink(pipeline))};
}

element named(const element& bin, const char* name) { return element{gst_bin_get_by_name(GST_BIN(bin.get()), name)}; }

zq_pad_pointer pad_of(const element& owner, const char* name)
{
    return zq_pad_pointer{gst_element_get_static_pad(owner.get(), name)};
}

void set_port(const element& source, std::uint16_t port)
{
    g_object_set(source.get(), "port", static_cast<guint>(port), nullptr);
}

GstStateChangeReturn set_state(const element& target, GstState state)
{
    return gst_element_set_state(target.get(), state);
}

const zq_net_statistics& statistics_of(const element& source)
{
    gpointer statistics = nullptr;
    g_object_get(source.get(), "statistics", &statistics, nullptr);
    return *static_cast<const zq_net_statistics*>(statistics);
}

std::string figure(const element& source, const std::string& name)
{
    for (const auto& [row, value] : statistics_of(source).get_items())
        if (row == name)
            return value;
    throw std::runtime_error("no row " + name);
}

namespace
{
/// A sink pad shows the buffers of a list one by one, too.
GstPadProbeType seen_on(GstPad* pad)
{
    constexpr auto plain = GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM;
    return static_cast<GstPadProbeType>(GST_PAD_IS_SRC(pad) ? plain | GST_PAD_PROBE_TYPE_BUFFER_LIST : plain);
}
} // namespace

recorder::recorder(GstPad* pad)
    : m_pad{GST_PAD(gst_object_ref(pad))}, m_id{gst_pad_add_probe(pad, seen_on(pad), probe, this, nullptr)}
{}

recorder::~recorder()
{
    gst_pad_remove_probe(m_pad, m_id);
    gst_object_unref(m_pad);
}

GstPadProbeReturn recorder::probe(GstPad*, GstPadProbeInfo* info, gpointer self)
{
    auto& m_recorder = *static_cast<recorder*>(self);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0)
        m_recorder.note(GST_PAD_PROBE_INFO_BUFFER(info));
    else if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER_LIST) != 0)
        m_recorder.note(GST_PAD_PROBE_INFO_BUFFER_LIST(info));
    else
        m_recorder.note(GST_PAD_PROBE_INFO_EVENT(info));
    return GST_PAD_PROBE_OK;
}

void recorder::note(GstBuffer* buffer)
{
    seen_buffer seen{std::vector<unsigned char>(gst_buffer_get_size(buffer)),
                     GST_BUFFER_PTS(buffer),
                     GST_BUFFER_DTS(buffer),
                     GST_BUFFER_DURATION(buffer),
                     GST_BUFFER_OFFSET(buffer),
                     GST_BUFFER_OFFSET_END(buffer),
                     GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_LIVE) != 0,
                     GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT) != 0};
    gst_buffer_extract(buffer, 0, seen.bytes.data(), seen.bytes.size());
    const std::lock_guard lock{m_mutex};
    m_flow.emplace_back("buffer");
    m_buffers.push_back(std::move(seen));
    ++m_count;
}

void recorder::note(GstBufferList* list)
{
    for (guint i = 0; i < gst_buffer_list_length(list); ++i)
        note(gst_buffer_list_get(list, i));
}

void recorder::note(GstEvent* event)
{
    const std::lock_guard lock{m_mutex};
    m_flow.emplace_back(GST_EVENT_TYPE_NAME(event));
    if (GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
        const GstSegment* segment = nullptr;
        gst_event_parse_segment(event, &segment);
        m_segments.push_back(*segment);
    }
}

std::vector<std::string> recorder::flow() const
{
    const std::lock_guard lock{m_mutex};
    return m_flow;
}

std::vector<seen_buffer> recorder::buffers() const
{
    const std::lock_guard lock{m_mutex};
    return m_buffers;
}

std::vector<GstSegment> recorder::segments() const
{
    const std::lock_guard lock{m_mutex};
    return m_segments;
}

std::vector<unsigned char> recorder::bytes() const
{
    const std::lock_guard lock{m_mutex};
    std::vector<unsigned char> all;
    for (const auto& buffer : m_buffers)
        all.insert(all.end(), buffer.bytes.begin(), buffer.bytes.end());
    return all;
}

test_sink::test_sink(chain on_buffer, query on_query)
    : m_on_buffer{std::move(on_buffer)},
      m_on_query{std::move(on_query)},
      m_pad{GST_PAD(gst_object_ref_sink(gst_pad_new("sink", GST_PAD_SINK)))}
{
    m_pad->chaindata = this;
    m_pad->querydata = this;
    gst_pad_set_chain_function_full(
        m_pad.get(),
        [](GstPad* pad, GstObject*, GstBuffer* buffer) {
            auto& self = *static_cast<test_sink*>(pad->chaindata);
            const GstFlowReturn flow = self.m_on_buffer ? self.m_on_buffer(buffer) : GST_FLOW_OK;
            gst_buffer_unref(buffer);
            return flow;
        },
        this, nullptr);
    gst_pad_set_event_function(m_pad.get(), [](GstPad*, GstObject*, GstEvent* event) -> gboolean {
        gst_event_unref(event);
        return TRUE;
    });
    gst_pad_set_query_function_full(
        m_pad.get(),
        [](GstPad* pad, GstObject* parent, GstQuery* asked) -> gboolean {
            auto& self = *static_cast<test_sink*>(pad->querydata);
            if (self.m_on_query && self.m_on_query(asked))
                return TRUE;
            return gst_pad_query_default(pad, parent, asked);
        },
        this, nullptr);
    gst_pad_set_active(m_pad.get(), TRUE);
}

test_sink::~test_sink() { gst_pad_set_active(m_pad.get(), FALSE); }

std::vector<std::string> logged_by(const std::function<void()>& action)
{
    static std::mutex mutex;
    static std::vector<std::string> lines;
    lines.clear();
    const auto note = [](const gchar*, GLogLevelFlags, const gchar* message, gpointer) {
        const std::lock_guard lock{mutex};
        lines.emplace_back(message);
    };
    const auto old = g_log_set_default_handler(note, nullptr);
    action();
    g_log_set_default_handler(old, nullptr);
    const std::lock_guard lock{mutex};
    return lines;
}

captured_stdout::captured_stdout()
{
    std::fflush(stdout);
    m_saved = ::dup(STDOUT_FILENO);
    char name[] = "/tmp/zq-stdout-XXXXXX";
    m_file = ::mkstemp(name);
    ::unlink(name);
    ::dup2(m_file, STDOUT_FILENO);
}

captured_stdout::~captured_stdout()
{
    restore();
    ::close(m_file);
}

void captured_stdout::restore()
{
    if (m_saved < 0)
        return;
    std::fflush(stdout);
    ::dup2(m_saved, STDOUT_FILENO);
    ::close(m_saved);
    m_saved = -1;
}

std::string captured_stdout::text()
{
    restore();
    std::string text;
    char block[4096];
    ::lseek(m_file, 0, SEEK_SET);
    for (ssize_t got = 0; (got = ::read(m_file, block, sizeof(block))) > 0;)
        text.append(block, static_cast<std::size_t>(got));
    return text;
}

std::string printed_by(const std::function<void()>& action)
{
    captured_stdout output;
    action();
    return output.text();
}
} // namespace support
