// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

#include <memory>

namespace support
{
struct message_release
{
    void operator()(GstMessage* one) const { gst_message_unref(one); }
};
using message = std::unique_ptr<GstMessage, message_release>;
} // namespace support
