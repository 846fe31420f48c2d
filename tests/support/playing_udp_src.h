// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/element.h"
#include "support/message.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace support
{
inline std::vector<unsigned char> joined(const std::vector<std::vector<unsigned char>>& parts)
{
    std::vector<unsigned char> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

/// `zqudpsrc` on a free port of the loopback, into a sink that takes everything at once.
struct playing_udp_src
{
    explicit playing_udp_src(const std::string& properties = "",
                             const std::string& rest = "fakesink sync=false async=false",
                             GstState state = GST_STATE_PLAYING)
        : pipeline{parse("zqudpsrc name=src address=127.0.0.1 port=" + std::to_string(port) + " " + properties + " ! " +
                         rest)}
    {
        set_state(pipeline, state);
    }
    ~playing_udp_src() { set_state(pipeline, GST_STATE_NULL); }

    bool got(const std::vector<unsigned char>& expected)
    {
        const bool enough = eventually([&] { return recorder.bytes().size() >= expected.size(); });
        return enough && recorder.bytes() == expected;
    }
    guint64 figure(const char* name) const
    {
        GstStructure* stats = nullptr;
        g_object_get(source.get(), "stats", &stats, nullptr);
        guint64 value = 0;
        EXPECT_TRUE(gst_structure_get_uint64(stats, name, &value)) << name;
        gst_structure_free(stats);
        return value;
    }
    /// Null when there is none yet.
    message message_now(GstMessageType type) const
    {
        GstBus* const bus = gst_element_get_bus(pipeline.get());
        message found{gst_bus_pop_filtered(bus, type)};
        gst_object_unref(bus);
        return found;
    }
    message next_message(GstMessageType type) const
    {
        GstBus* const bus = gst_element_get_bus(pipeline.get());
        message found{gst_bus_timed_pop_filtered(bus, 30 * GST_SECOND, type)};
        gst_object_unref(bus);
        return found;
    }

    watchdog guard{std::chrono::seconds{280}};
    std::uint16_t port = free_port();
    element pipeline;
    element source = named(pipeline, "src");
    support::recorder recorder{pad_of(source, "src").get()};
    udp_sender sender{"127.0.0.1", port};
};
} // namespace support
