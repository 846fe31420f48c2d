// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

/// The type of the element `zqt2midemux`.
GType zq_t2mi_demux_get_type();

/// Registers `zqt2midemux` in `plugin`, or in the process when that is null. Its rank is none.
gboolean zq_register_t2mi_demux(GstPlugin* plugin);
