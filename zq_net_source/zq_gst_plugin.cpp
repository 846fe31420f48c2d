// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_gst_net_source.h"

static gboolean plugin_init(GstPlugin* plugin) { return zq_register_elements(plugin); }

#define PACKAGE "zqnetsource"
GST_PLUGIN_DEFINE(1, 20, zqnetsource, "Template zqnetsource", plugin_init, ZQ_VERSION, "LGPL", "Gst ZQ Network Source",
                  "Quillmark")
