// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/base/gstpushsrc.h>
#include <gst/gst.h>

/// The type of the element `zqudpsrc`.
GType zq_udp_src_get_type();

/// Registers `zqudpsrc` in `plugin`, or in the process when that is null. Its rank is none, so that nobody gets it for
/// udp:// who did not ask for it.
gboolean zq_register_udp_src(GstPlugin* plugin);
