// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/transport_input.h"

#include <gst/base/gstpushsrc.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

/// What an application sets on a `zqudpsrc`; taken over at the next start.
struct zq_udp_src_settings
{
    std::string address;
    guint port = 5004;
    std::string interface;
    std::string source_filter; ///< addresses with commas between them, blanks around them
    guint buffer_size = 0;     ///< bytes
    guint64 timeout = 0;       ///< nanoseconds; 0 and GST_CLOCK_TIME_NONE: no messages
    zq_net::rtp_mode rtp = zq_net::rtp_mode::automatic;
    bool align = true;
    guint batch_time = 0; ///< milliseconds
    std::string address2;
    guint port2 = 0; ///< 0: that of the first leg
    std::string interface2;

    /// Those of the source filter.
    [[nodiscard]] std::vector<std::string> sources() const;
    [[nodiscard]] bool has_second_leg() const { return port2 != 0 || !address2.empty() || !interface2.empty(); }
};

/// What stands behind one `zqudpsrc` element. start() to create() come from the base class, in its order; figures and
/// latency are for any thread.
class zq_udp_src
{
public:
    explicit zq_udp_src(GstBaseSrc* element) : m_element{element} {}

    /// False with an error on the bus.
    [[nodiscard]] bool start(const zq_udp_src_settings& settings);
    void stop();
    /// From start() until playing, and in each pause, what comes is dropped.
    void play();
    void pause();
    void unlock() { m_input.interrupt(); }
    void unlock_stop();

    /// Waits for data. One buffer comes back in `buffer`; several are handed to the base class as a list.
    [[nodiscard]] GstFlowReturn create(GstBuffer*& buffer);

    [[nodiscard]] GstStructure* stats();
    /// How long data may be held here, in nanoseconds.
    [[nodiscard]] std::uint64_t latency() const { return m_latency; }

private:
    struct memory
    {
        GstBuffer* buffer = nullptr;
        GstMapInfo map{};
        std::size_t slots = 0;
        std::size_t slot_size = 0;
    };

    bool get_memory();
    void drop_memory();
    GstBuffer* take_whole(const zq_net::piece& piece);
    GstBuffer* gather(std::size_t& next);
    GstFlowReturn hand_on(GstBuffer*& buffer);
    GstBuffer* finish(GstBuffer* buffer, const zq_net::piece& first);
    GstClockTime time_of(std::uint64_t arrival);
    [[nodiscard]] GstClockTime latency_now() const;
    void update_latency();
    void note_silence();
    void note_data();
    void warn_of_small_buffer();
    void warn_of_lost_interface();

    static constexpr std::uint64_t not_playing = std::numeric_limits<std::uint64_t>::max();

    GstBaseSrc* m_element;
    zq_net::transport_input m_input;
    zq_udp_src_settings m_settings;
    memory m_memory; // to receive into, not while others gather
    std::atomic<GstClockTime> m_last_time{0};
    bool m_discont = true;
    std::atomic<std::uint64_t> m_latency{0};
    std::atomic<std::uint64_t> m_playing_since{not_playing}; // by steady_time(), as the two below
    std::uint64_t m_quiet_since = 0;
    std::uint64_t m_last_data = 0;
    bool m_told_silence = false;
    bool m_told_lost_interface = false;
};
