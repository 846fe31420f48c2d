// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

/// A generic pool in all that can be seen, but it hands out the buffer that came back last. GStreamer's own one uses
/// its buffers in turns: with the 30 of each source, memory and caches hold 30 of which two or three are needed. Null
/// when GLib refuses the type. The caller owns the reference.
[[nodiscard]] GstBufferPool* zq_warm_buffer_pool_new();
