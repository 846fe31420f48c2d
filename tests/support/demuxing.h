// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/T2MIFeed.h"
#include "support/element.h"
#include "support/message.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace support
{
/// A `zqt2midemux` alone, fed from the test's thread; every pad that it brings is linked to a sink that records.
class demuxing
{
public:
    using Bytes = std::vector<unsigned char>;
    using set_up = std::function<void(GObject*)>;

    explicit demuxing(const set_up& properties = {}, const char* caps = "video/mpegts",
                      GstFormat format = GST_FORMAT_TIME)
        : element{GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("zqt2midemux", "demux")))},
          bus{gst_bus_new()},
          m_source{GST_PAD(gst_object_ref_sink(gst_pad_new("src", GST_PAD_SRC)))}
    {
        gst_element_set_bus(element.get(), bus);
        if (properties)
            properties(G_OBJECT(element.get()));
        g_signal_connect(element.get(), "pad-added", G_CALLBACK(added), this);
        g_signal_connect(element.get(), "pad-removed", G_CALLBACK(removed), this);
        gst_pad_link(m_source, pad_of(element, "sink").get());
        start(caps, format);
    }
    ~demuxing()
    {
        set_state(element, GST_STATE_NULL);
        gst_pad_set_active(m_source, FALSE);
        gst_element_set_bus(element.get(), nullptr);
        g_signal_handlers_disconnect_by_data(element.get(), this);
        gst_object_unref(m_source);
        gst_object_unref(bus);
    }
    demuxing(const demuxing&) = delete;
    demuxing& operator=(const demuxing&) = delete;

    void start(const char* caps = "video/mpegts", GstFormat format = GST_FORMAT_TIME)
    {
        gst_pad_set_active(m_source, TRUE);
        set_state(element, GST_STATE_PLAYING);
        GstEvent* const begin = gst_event_new_stream_start("upstream");
        gst_event_set_group_id(begin, 7);
        push(begin);
        GstCaps* const parsed = gst_caps_from_string(caps);
        push(gst_event_new_caps(parsed));
        gst_caps_unref(parsed);
        GstSegment segment;
        gst_segment_init(&segment, format);
        push(gst_event_new_segment(&segment));
    }

    /// As a source that stops: what it had sent is forgotten.
    void deactivate() { gst_pad_set_active(m_source, FALSE); }

    bool push(GstEvent* event) { return gst_pad_push_event(m_source, event) != FALSE; }
    GstFlowReturn push(const Bytes& data, GstClockTime pts = GST_CLOCK_TIME_NONE, bool is_discont = false)
    {
        return gst_pad_push(m_source, buffer(data, pts, is_discont));
    }
    /// In buffers of `size`.
    GstFlowReturn push_cut(const Bytes& data, std::size_t size)
    {
        GstFlowReturn flow = GST_FLOW_OK;
        for (std::size_t at = 0; at < data.size() && flow == GST_FLOW_OK; at += size)
            flow = push(zqtest::slice(data, at, std::min(size, data.size() - at)));
        return flow;
    }
    GstFlowReturn push_list(const Bytes& data, std::size_t size)
    {
        GstBufferList* const list = gst_buffer_list_new();
        for (std::size_t at = 0; at < data.size(); at += size)
            gst_buffer_list_add(list, buffer(zqtest::slice(data, at, std::min(size, data.size() - at)), 0, false));
        return gst_pad_push_list(m_source, list);
    }

    static GstBuffer* buffer(const Bytes& data, GstClockTime pts, bool is_discont)
    {
        GstBuffer* const made = gst_buffer_new_memdup(data.data(), data.size());
        GST_BUFFER_PTS(made) = GST_BUFFER_DTS(made) = pts;
        if (is_discont)
            GST_BUFFER_FLAG_SET(made, GST_BUFFER_FLAG_DISCONT);
        return made;
    }

    /// What came through the pad; it stays when the pad goes.
    const recorder& of(const std::string& pad) const { return *m_ends.at(pad)->records; }
    bool has(const std::string& pad) const { return m_ends.count(pad) != 0; }
    Bytes bytes(unsigned plp_id) const { return of("plp_" + std::to_string(plp_id)).bytes(); }

    std::uint64_t figure(const char* name, const char* of_plp = nullptr) const
    {
        GstStructure* stats = nullptr;
        g_object_get(element.get(), "stats", &stats, nullptr);
        guint64 value = 0;
        const GstStructure* from = stats;
        if (of_plp != nullptr)
            from = gst_value_get_structure(gst_structure_get_value(stats, of_plp));
        EXPECT_TRUE(gst_structure_get_uint64(from, name, &value)) << name;
        gst_structure_free(stats);
        return value;
    }

    message next(GstMessageType type) const { return message{gst_bus_pop_filtered(bus, type)}; }
    /// The next element message with this name.
    message next(const char* name) const
    {
        for (;;) {
            message found = next(GST_MESSAGE_ELEMENT);
            if (!found || gst_structure_has_name(gst_message_get_structure(found.get()), name))
                return found;
        }
    }
    /// The text of each warning.
    std::vector<std::string> warnings() const { return texts(GST_MESSAGE_WARNING, gst_message_parse_warning); }
    std::vector<std::string> errors() const { return texts(GST_MESSAGE_ERROR, gst_message_parse_error); }

    support::element element;
    GstBus* bus;
    std::vector<std::string> pads_added, pads_removed;
    bool links = true; ///< whether a pad that comes is linked
    test_sink::chain on_buffer = [](GstBuffer*) { return GST_FLOW_OK; };

private:
    struct end
    {
        std::unique_ptr<test_sink> sink;
        std::unique_ptr<recorder> records;
    };

    static void added(GstElement*, GstPad* pad, gpointer self)
    {
        auto& to = *static_cast<demuxing*>(self);
        const std::string name = GST_PAD_NAME(pad);
        to.pads_added.push_back(name);
        if (!to.links)
            return;
        auto& made = to.m_ends[name];
        made = std::make_unique<end>();
        made->sink = std::make_unique<test_sink>([&to](GstBuffer* given) { return to.on_buffer(given); });
        made->records = std::make_unique<recorder>(made->sink->pad());
        EXPECT_EQ(gst_pad_link(pad, made->sink->pad()), GST_PAD_LINK_OK);
    }
    static void removed(GstElement*, GstPad* pad, gpointer self)
    {
        static_cast<demuxing*>(self)->pads_removed.push_back(GST_PAD_NAME(pad));
    }

    template <class Parse>
    std::vector<std::string> texts(GstMessageType type, Parse parse) const
    {
        std::vector<std::string> found;
        while (const message one = next(type)) {
            GError* error = nullptr;
            parse(one.get(), &error, nullptr);
            found.emplace_back(error->message);
            g_error_free(error);
        }
        return found;
    }

    GstPad* m_source;
    std::map<std::string, std::unique_ptr<end>> m_ends;
    watchdog m_guard;
};
} // namespace support
