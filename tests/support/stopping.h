// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/element.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace support
{
/// A source of this project, not in any bin, with its only pad.
struct source_kind
{
    const char* factory;
    const char* pad;

    [[nodiscard]] element make(std::uint16_t port) const
    {
        GstElement* const made = gst_element_factory_make(factory, nullptr);
        element source{made != nullptr ? GST_ELEMENT(gst_object_ref_sink(made)) : nullptr};
        set_port(source, port);
        return source;
    }
};

/// A gate that a test opens: buffers wait in front of it.
class gate
{
public:
    GstFlowReturn pass()
    {
        std::unique_lock lock{m_mutex};
        m_waiting = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
        return GST_FLOW_OK;
    }
    bool somebody_waits()
    {
        std::unique_lock lock{m_mutex};
        return m_changed.wait_for(lock, std::chrono::seconds{30}, [this] { return m_waiting; });
    }
    void open()
    {
        const std::lock_guard lock{m_mutex};
        m_open = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_waiting = false, m_open = false;
};

/// An element linked to a sink that holds every buffer until the gate opens.
struct held_source
{
    support::watchdog guard;
    gate closed;
    test_sink sink{[this](GstBuffer*) { return closed.pass(); }};
    std::uint16_t port = free_port();
    element source;
    udp_sender sender{"127.0.0.1", port};

    explicit held_source(const source_kind& kind) : source{kind.make(port)}
    {
        gst_pad_link(pad_of(source, kind.pad).get(), sink.pad());
    }
    void play_until_held()
    {
        set_state(source, GST_STATE_PLAYING);
        sender.send(pattern(1316));
        ASSERT_TRUE(closed.somebody_waits());
    }
};

/// Blocks everything that goes downstream through a pad, as an application does that wants to link something else.
class blocking_probe
{
public:
    explicit blocking_probe(zq_pad_pointer pad)
        : m_pad{std::move(pad)},
          m_id{gst_pad_add_probe(m_pad.get(), GST_PAD_PROBE_TYPE_BLOCK_DOWNSTREAM, note_and_hold, &m_reached, nullptr)}
    {}
    void remove() { gst_pad_remove_probe(m_pad.get(), m_id); }
    bool reached() const
    {
        return eventually([this] { return m_reached.load(); });
    }

private:
    static GstPadProbeReturn note_and_hold(GstPad*, GstPadProbeInfo*, gpointer reached)
    {
        *static_cast<std::atomic<bool>*>(reached) = true;
        return GST_PAD_PROBE_OK;
    }

    std::atomic<bool> m_reached{false};
    zq_pad_pointer m_pad;
    gulong m_id;
};

/// Cycles of PLAYING, PAUSED, PLAYING, NULL; fewer where everything takes longer (sanitizers).
inline int stop_cycles()
{
    const char* const wanted = std::getenv("ZQ_CYCLES");
    return wanted != nullptr ? std::atoi(wanted) : 200;
}

/// Just less than ctest gives a test; more where somebody asked for more cycles than usual.
inline std::chrono::seconds stopping_limit()
{
    constexpr std::chrono::seconds usual{280};
    return std::max(usual, usual * stop_cycles() / 200);
}

/// Such cycles under traffic of `source ! rest`; `left_behind` says what a cycle left that should be gone, or nothing.
inline void stop_under_traffic(const char* factory, const std::string& rest,
                               const std::function<std::string(std::uint16_t port)>& left_behind)
{
    const watchdog guard{stopping_limit()};
    const auto port = free_port();
    const auto pipeline = parse(std::string{factory} + " name=src port=" + std::to_string(port) + " ! " + rest);
    const udp_traffic traffic{port, std::chrono::microseconds{300}};
    for (int i = 0, count = stop_cycles(); i < count; ++i) {
        set_state(pipeline, GST_STATE_PLAYING);
        std::this_thread::sleep_for(std::chrono::milliseconds{i % 5});
        set_state(pipeline, GST_STATE_PAUSED);
        set_state(pipeline, GST_STATE_PLAYING);
        set_state(pipeline, GST_STATE_NULL);
        ASSERT_EQ(left_behind(port), "") << "in cycle " << i;
    }
}

/// Plays and pauses `source ! filesink` under traffic and looks at the file's size each time.
inline void never_shrinks_a_file(const char* factory)
{
    const watchdog guard{stopping_limit()};
    char path[] = "/tmp/zq-filesink-XXXXXX";
    ::close(::mkstemp(path));
    const auto port = free_port();
    const auto pipeline = parse(std::string{factory} + " port=" + std::to_string(port) +
                                " ! filesink location=" + path + " buffer-mode=2");
    const udp_traffic traffic{port, std::chrono::microseconds{200}};
    off_t largest = 0;
    for (int i = 0, count = 2 * stop_cycles(); i < count; ++i) {
        set_state(pipeline, i % 2 == 0 ? GST_STATE_PLAYING : GST_STATE_PAUSED);
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
        struct stat now
        {};
        ASSERT_EQ(::stat(path, &now), 0);
        ASSERT_GE(now.st_size, largest) << "after change " << i;
        largest = now.st_size;
    }
    set_state(pipeline, GST_STATE_NULL);
    EXPECT_GT(largest, 0);
    ::unlink(path);
}

/// Lets an element go while it plays, which GStreamer rightly complains about.
inline void drop_while_playing(element& source)
{
    const auto old = g_log_set_default_handler([](const gchar*, GLogLevelFlags, const gchar*, gpointer) {}, nullptr);
    source.reset();
    g_log_set_default_handler(old, nullptr);
}
} // namespace support
