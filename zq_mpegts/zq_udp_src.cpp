// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_udp_src.h"

#include "zq_mpegts/zq_gst_udp_src.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <utility>

using zq_net::piece;
using zq_net::transport_input;

namespace
{
constexpr std::uint64_t ms = GST_MSECOND;
/// So long a time one buffer may stand for.
constexpr std::uint64_t longest_buffer = 10 * ms;

bool tells_of_silence(const zq_udp_src_settings& settings)
{
    return settings.timeout != 0 && settings.timeout != GST_CLOCK_TIME_NONE;
}

zq_net::input_settings input_settings_of(const zq_udp_src_settings& settings)
{
    const auto sources = settings.sources();
    const auto size = static_cast<int>(settings.buffer_size);
    zq_net::input_settings input;
    input.legs.push_back(
        {settings.address, static_cast<std::uint16_t>(settings.port), settings.interface, sources, size});
    if (settings.has_second_leg())
        input.legs.push_back({settings.address2.empty() ? settings.address : settings.address2,
                              static_cast<std::uint16_t>(settings.port2 != 0 ? settings.port2 : settings.port),
                              settings.interface2, sources, size});
    input.rtp = settings.rtp;
    input.align = settings.align;
    input.batch_time = settings.batch_time;
    if (tells_of_silence(settings))
        input.longest_wait = static_cast<unsigned>(std::min<guint64>((settings.timeout - 1) / ms + 1, 3600'000));
    return input;
}
} // namespace

std::vector<std::string> zq_udp_src_settings::sources() const
{
    std::vector<std::string> parts;
    std::istringstream in{source_filter};
    for (std::string part; std::getline(in, part, ',');)
        if (part.erase(0, part.find_first_not_of(' ')); !part.empty())
            parts.push_back(part.substr(0, part.find_last_not_of(' ') + 1));
    return parts;
}

bool zq_udp_src::start(const zq_udp_src_settings& settings)
{
    m_settings = settings;
    m_last_time = 0;
    m_last_data = 0;
    m_discont = true;
    m_told_silence = m_told_lost_interface = false;
    m_input.set_idle(true);
    if (!m_input.open(input_settings_of(settings))) {
        GST_ELEMENT_ERROR(m_element, RESOURCE, OPEN_READ, ("%s", m_input.error().c_str()), (nullptr));
        m_input.close();
        return false;
    }
    m_quiet_since = zq_net::steady_time();
    m_latency = latency_now();
    warn_of_small_buffer();
    return true;
}

void zq_udp_src::warn_of_small_buffer()
{
    const auto leg = m_input.figures().legs[0];
    if (leg.buffer_got < leg.buffer_asked)
        GST_ELEMENT_WARNING(m_element, RESOURCE, SETTINGS,
                            ("The kernel keeps %d bytes for the socket where %d were asked for. As root: sysctl -w "
                             "net.core.rmem_max=%d",
                             leg.buffer_got, leg.buffer_asked, leg.buffer_asked),
                            (nullptr));
}

/// Once for each time that it is lost.
void zq_udp_src::warn_of_lost_interface()
{
    const std::string error = m_input.follow_error();
    if (std::exchange(m_told_lost_interface, !error.empty()) || error.empty())
        return;
    GST_ELEMENT_WARNING(m_element, RESOURCE, OPEN_READ, ("%s", error.c_str()),
                        ("The interface is another one than at the start; tried again each second."));
}

void zq_udp_src::stop()
{
    m_input.close();
    drop_memory();
}

void zq_udp_src::play()
{
    m_playing_since = zq_net::steady_time();
    m_input.set_idle(false);
}

void zq_udp_src::pause()
{
    m_playing_since = not_playing;
    m_input.set_idle(true);
}

void zq_udp_src::unlock_stop()
{
    // A flush may have set the running time back.
    m_last_time = 0;
    m_input.resume();
}

bool zq_udp_src::get_memory()
{
    const std::size_t slots = m_input.wanted_slots();
    const std::size_t slot_size = m_input.wanted_slot_size();
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, slots * slot_size, nullptr);
    if (buffer == nullptr)
        return false;
    if (!gst_buffer_map(buffer, &m_memory.map, GST_MAP_WRITE)) {
        gst_buffer_unref(buffer);
        return false;
    }
    m_memory.buffer = buffer;
    m_memory.slots = slots;
    m_memory.slot_size = slot_size;
    return true;
}

void zq_udp_src::drop_memory()
{
    if (m_memory.buffer == nullptr)
        return;
    gst_buffer_unmap(m_memory.buffer, &m_memory.map);
    gst_buffer_unref(std::exchange(m_memory.buffer, nullptr));
}

GstFlowReturn zq_udp_src::create(GstBuffer*& buffer)
{
    for (;;) {
        drop_memory();
        m_input.rest();
        if (!get_memory())
            return GST_FLOW_ERROR;
        switch (m_input.receive(m_memory.map.data, m_memory.slots, m_memory.slot_size)) {
        case transport_input::result::interrupted:
            m_discont = true;
            return GST_FLOW_FLUSHING;
        case transport_input::result::failed:
            GST_ELEMENT_ERROR(m_element, RESOURCE, READ, ("%s", m_input.error().c_str()), (nullptr));
            return GST_FLOW_ERROR;
        case transport_input::result::nothing:
            warn_of_lost_interface();
            note_silence();
            break;
        case transport_input::result::data:
            note_data();
            return hand_on(buffer);
        }
    }
}

GstFlowReturn zq_udp_src::hand_on(GstBuffer*& buffer)
{
    const auto& pieces = m_input.pieces();
    if (pieces.size() == 1)
        if (GstBuffer* const whole = take_whole(pieces[0])) {
            buffer = whole;
            return GST_FLOW_OK;
        }
    std::size_t next = 0;
    buffer = gather(next);
    if (buffer == nullptr)
        return GST_FLOW_ERROR;
    if (next == pieces.size())
        return GST_FLOW_OK;
    GstBufferList* const list = gst_buffer_list_new();
    gst_buffer_list_add(list, std::exchange(buffer, nullptr));
    while (next < pieces.size()) {
        GstBuffer* const more = gather(next);
        if (more == nullptr)
            break;
        gst_buffer_list_add(list, more);
    }
    gst_base_src_submit_buffer_list(m_element, list);
    return GST_FLOW_OK;
}

/// The buffer that was received into, cut to the piece; null when the piece lies elsewhere.
GstBuffer* zq_udp_src::take_whole(const piece& taken)
{
    const guint8* const start = m_memory.map.data;
    if (taken.data < start || taken.data >= start + m_memory.map.size)
        return nullptr;
    const auto offset = static_cast<gsize>(taken.data - start);
    gst_buffer_unmap(m_memory.buffer, &m_memory.map);
    GstBuffer* const whole = std::exchange(m_memory.buffer, nullptr);
    gst_buffer_resize(whole, static_cast<gssize>(offset), static_cast<gssize>(taken.size));
    return finish(whole, taken);
}

/// A buffer with copies of the pieces from `next` on, up to one that must stand apart.
GstBuffer* zq_udp_src::gather(std::size_t& next)
{
    const auto& pieces = m_input.pieces();
    const std::size_t begin = next;
    std::size_t size = 0;
    for (; next < pieces.size(); ++next) {
        const bool apart = pieces[next].gap || pieces[next].arrival > pieces[begin].arrival + longest_buffer;
        if (next > begin && apart)
            break;
        size += pieces[next].size;
    }
    GstBuffer* const gathered = gst_buffer_new_allocate(nullptr, size, nullptr);
    if (gathered == nullptr)
        return nullptr;
    gsize filled = 0;
    for (std::size_t i = begin; i < next; ++i)
        filled += gst_buffer_fill(gathered, filled, pieces[i].data, pieces[i].size);
    return finish(gathered, pieces[begin]);
}

GstBuffer* zq_udp_src::finish(GstBuffer* buffer, const piece& first)
{
    GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = time_of(first.arrival);
    if (std::exchange(m_discont, false) || first.gap)
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    return buffer;
}

/// When a datagram that came at `arrival` came by the pipeline's running time; never before the one before it.
GstClockTime zq_udp_src::time_of(std::uint64_t arrival)
{
    GstElement* const element = GST_ELEMENT_CAST(m_element);
    GST_OBJECT_LOCK(element);
    GstClock* const clock =
        GST_ELEMENT_CLOCK(element) != nullptr ? GST_CLOCK_CAST(gst_object_ref(GST_ELEMENT_CLOCK(element))) : nullptr;
    const GstClockTime base = element->base_time;
    GST_OBJECT_UNLOCK(element);
    if (clock == nullptr)
        return GST_CLOCK_TIME_NONE;
    const GstClockTime now = gst_clock_get_time(clock);
    const std::uint64_t real_now = zq_net::real_time();
    gst_object_unref(clock);
    // The age is all that is taken from the system's clock, which may be set.
    const std::uint64_t age = real_now > arrival ? real_now - arrival : 0;
    const GstClockTime time = now > base + age ? now - base - age : 0;
    return m_last_time = std::max(m_last_time.load(), time);
}

void zq_udp_src::note_data()
{
    if (m_settings.has_second_leg())
        warn_of_lost_interface();
    const std::uint64_t now = zq_net::steady_time();
    if (std::exchange(m_told_silence, false))
        gst_element_post_message(GST_ELEMENT(m_element),
                                 gst_message_new_element(GST_OBJECT(m_element),
                                                         gst_structure_new("ZqUdpSrcResumed", "silence", G_TYPE_UINT64,
                                                                           now - m_last_data, nullptr)));
    m_quiet_since = m_last_data = now;
    update_latency();
}

GstClockTime zq_udp_src::latency_now() const
{
    const bool one_leg_of_rtp = m_settings.rtp == zq_net::rtp_mode::on && !m_settings.has_second_leg();
    return m_input.batch_wait() + (one_leg_of_rtp ? transport_input::reorder_wait_one_leg : m_input.reorder_wait());
}

/// It never falls while the stream plays.
void zq_udp_src::update_latency()
{
    const GstClockTime latency = latency_now();
    if (latency <= m_latency)
        return;
    m_latency = latency;
    gst_element_post_message(GST_ELEMENT(m_element), gst_message_new_latency(GST_OBJECT(m_element)));
}

void zq_udp_src::note_silence()
{
    const std::uint64_t now = zq_net::steady_time();
    // A pause is no silence.
    const std::uint64_t quiet_since = std::max(m_quiet_since, m_playing_since.load());
    if (quiet_since == not_playing || !tells_of_silence(m_settings))
        return;
    if (m_last_data == 0)
        m_last_data = quiet_since;
    if (now < quiet_since || now - quiet_since < m_settings.timeout)
        return;
    m_quiet_since = now;
    m_told_silence = true;
    gst_element_post_message(
        GST_ELEMENT(m_element),
        gst_message_new_element(GST_OBJECT(m_element), gst_structure_new("GstUDPSrcTimeout", "timeout", G_TYPE_UINT64,
                                                                         m_settings.timeout, nullptr)));
}
