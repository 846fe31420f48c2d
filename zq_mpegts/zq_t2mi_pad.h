// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

#include <cstddef>
#include <cstdint>

/// The source pad of one PLP and the buffers that are being filled for it.
class zq_t2mi_pad
{
public:
    /// Makes the pad, active, with stream-start and caps on it; it is not in the element yet.
    zq_t2mi_pad(GstElement* element, std::uint8_t plp_id, guint group);
    ~zq_t2mi_pad();
    zq_t2mi_pad(const zq_t2mi_pad&) = delete;
    zq_t2mi_pad& operator=(const zq_t2mi_pad&) = delete;

    GstPad* pad() const { return m_pad; }
    GstStream* stream() const { return m_stream; }

    /// The segment that holds from the next buffer on. One in bytes begins where this pad stands.
    void set_segment(const GstSegment& segment, guint32 seqnum);
    /// Adds a packet of 188 bytes. The times are those of a buffer that begins with it.
    void add(const unsigned char* packet, bool is_behind_gap, GstClockTime pts, GstClockTime dts);
    [[nodiscard]] bool has_data() const { return m_block != nullptr || m_filled != nullptr || m_list != nullptr; }
    /// More than should wait for the end of the input buffer.
    [[nodiscard]] bool has_much_data() const
    {
        return m_list != nullptr && gst_buffer_list_length(m_list) >= most_buffers;
    }
    /// Pushes what was added; GST_FLOW_OK when there is nothing.
    GstFlowReturn push();
    /// The input has got to `pts`, with or without data for this pad; a pad that had none for half a second says so
    /// downstream.
    void follow_time(GstClockTime pts, bool had_data);
    /// Forgets what was added.
    void drop();

private:
    static constexpr guint most_buffers = 32; ///< 8 KB each

    void end();

    GstPad* m_pad;
    GstStream* m_stream;
    guint8* m_block = nullptr; ///< being filled
    gsize m_fill = 0;
    GstClockTime m_pts = GST_CLOCK_TIME_NONE; ///< of that block, like the next one
    GstClockTime m_dts = GST_CLOCK_TIME_NONE;
    GstBuffer* m_filled = nullptr;             ///< the only filled one
    GstBufferList* m_list = nullptr;           ///< filled ones, where there are more
    GstClockTime m_time = GST_CLOCK_TIME_NONE; ///< up to which downstream knows
    guint64 m_bytes = 0;                       ///< that were added since the start
    bool m_discont = true;
};
