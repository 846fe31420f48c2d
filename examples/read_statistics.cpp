// SPDX-License-Identifier: LGPL-2.1-or-later
// read_statistics ADDRESS PORT SECONDS: receives on a UDP socket and prints the element's statistics every second.
// The plugin is found like any other: installed, or with GST_PLUGIN_PATH naming the folder of libgstzqnetsource.so.
#include "zq_net_source/zq_net_statistics.h"

#include <gst/gst.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: read_statistics ADDRESS PORT SECONDS\n");
        return 2;
    }
    gst_init(nullptr, nullptr);
    GstElement* const source = gst_element_factory_make("zqnetsource", nullptr);
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    if (source == nullptr || sink == nullptr) {
        std::fprintf(stderr, "read_statistics: the element zqnetsource or fakesink is missing\n");
        return 1;
    }
    GstElement* const pipeline = gst_pipeline_new(nullptr);
    gst_bin_add_many(GST_BIN(pipeline), source, sink, nullptr);
    gst_element_link(source, sink);
    g_object_set(source, "address", argv[1], "port", static_cast<guint>(std::atoi(argv[2])), nullptr);
    g_object_set(sink, "sync", FALSE, nullptr);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);

    // The property is a pointer to an object of the element's, good as long as the element is; get_items() is virtual.
    gpointer pointer = nullptr;
    g_object_get(source, "statistics", &pointer, nullptr);
    const auto* const statistics = static_cast<const zq_base_statistics*>(pointer);

    for (int second = 0; second < std::atoi(argv[3]); ++second) {
        g_usleep(G_USEC_PER_SEC);
        for (const auto& [name, value] : statistics->get_items())
            std::printf("%s: %s   ", name.c_str(), value.c_str());
        std::printf("\n");
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return 0;
}
