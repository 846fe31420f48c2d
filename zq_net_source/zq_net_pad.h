// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_gst_pointers.h"

#include <string>

/// The element's one pad template: "src_net", source, always, "video/mpegts".
extern GstStaticPadTemplate zq_net_pad_template;

/// The source pad of one element. Engine, runs and providers share this record, so that a receive thread which comes
/// back late from downstream still finds its pad.
struct zq_net_pad
{
    zq_pad_pointer pad;

    /// Makes the pad from the template and adds it to `element`. False when the element refused it.
    bool create_net_pad(GstElement* element);

    /// Sends stream-start with a stream id made of the element's and `stream_id`, in a group of its own.
    void send_stream_start(const char* stream_id) const;

    /// Sends the caps event. False when downstream refused it.
    [[nodiscard]] bool set_pad_caps() const;

    /// True when `pad` is given and linked.
    [[nodiscard]] static bool isConnect(GstPad* pad);

    /// "video/mpegts" without fields, always.
    [[nodiscard]] static zq_caps_pointer net_pad_query_caps(GstPad* pad);
};
