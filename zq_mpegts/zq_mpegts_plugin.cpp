// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_mpegts/zq_gst_t2mi_demux.h"
#include "zq_mpegts/zq_gst_udp_src.h"

static gboolean plugin_init(GstPlugin* plugin) { return zq_register_udp_src(plugin) && zq_register_t2mi_demux(plugin); }

#define PACKAGE "zqmpegts"
GST_PLUGIN_DEFINE(1, 20, zqmpegts, "Transport streams from UDP, RTP and T2-MI", plugin_init, ZQ_VERSION, "LGPL",
                  "Gst ZQ MPEG transport streams", "Quillmark")
