// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_gst_pointers.h"
#include "zq_net_source/zq_net_statistics.h"

#include <gst/gst.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace support
{
using element = zq_element_pointer;

/// A fresh `zqnetsource`, not in any bin; takes the floating reference.
element make_source();

/// A pipeline as gst-launch-1.0 would build it; throws on a syntax error.
element parse(const std::string& description);
element named(const element& bin, const char* name);
zq_pad_pointer pad_of(const element& owner, const char* name);

void set_port(const element& source, std::uint16_t port);
/// Sets the state and waits for what the change itself has to wait for.
GstStateChangeReturn set_state(const element& target, GstState state);

const zq_net_statistics& statistics_of(const element& source);
/// Value of one statistics row.
std::string figure(const element& source, const std::string& name);

struct seen_buffer
{
    std::vector<unsigned char> bytes;
    std::uint64_t pts, dts, duration, offset, offset_end;
    bool live;
    bool discont;
};

/// Records what leaves through a pad, in order, from whatever thread.
class recorder
{
public:
    explicit recorder(GstPad* pad);
    ~recorder();
    recorder(const recorder&) = delete;
    recorder& operator=(const recorder&) = delete;

    /// Names of the events, with "buffer" for every buffer between them.
    std::vector<std::string> flow() const;
    std::vector<seen_buffer> buffers() const;
    std::vector<GstSegment> segments() const;
    std::size_t count() const { return m_count; }
    std::vector<unsigned char> bytes() const;

private:
    static GstPadProbeReturn probe(GstPad*, GstPadProbeInfo* info, gpointer self);
    void note(GstBuffer* buffer);
    void note(GstBufferList* list);
    void note(GstEvent* event);

    GstPad* m_pad;
    gulong m_id;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_flow;
    std::vector<seen_buffer> m_buffers;
    std::vector<GstSegment> m_segments;
    std::atomic<std::size_t> m_count{0};
};

/// The end of the line: a pad to link a source pad to, whose answers a test decides.
class test_sink
{
public:
    using chain = std::function<GstFlowReturn(GstBuffer*)>;
    using query = std::function<bool(GstQuery*)>;

    explicit test_sink(chain on_buffer = {}, query on_query = {});
    ~test_sink();
    test_sink(const test_sink&) = delete;
    test_sink& operator=(const test_sink&) = delete;

    GstPad* pad() const { return m_pad.get(); }

private:
    chain m_on_buffer;
    query m_on_query;
    zq_pad_pointer m_pad;
};

/// What GLib logged during `action`, on this thread or another.
std::vector<std::string> logged_by(const std::function<void()>& action);

/// Texts that this process writes to standard output, g_print included, between construction and text().
class captured_stdout
{
public:
    captured_stdout();
    ~captured_stdout();
    std::string text();

private:
    void restore();
    int m_saved;
    int m_file;
};

/// What this process writes to standard output during `action`.
std::string printed_by(const std::function<void()>& action);
} // namespace support
