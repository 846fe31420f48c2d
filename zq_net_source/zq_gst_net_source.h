// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <gst/gst.h>

class zq_net_source;

GST_DEBUG_CATEGORY_EXTERN(gst_zq_net_source_debug);

/// Instance of the element `zqnetsource`: all it does is done by the engine.
struct Gstzqnetsource
{
    GstElement element;
    zq_net_source* engine;
};

struct Gstzqnetsourceclass
{
    GstElementClass parent_class;
};

/// Type "GstZqNetSourceType", registered at the first call.
GType gst_zqnetsource_get_type();

/// Registers the element "zqnetsource" with `plugin` (null: for this process only). May be called again.
gboolean zq_register_elements(GstPlugin* plugin);
