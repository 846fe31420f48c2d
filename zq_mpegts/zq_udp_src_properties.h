// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_mpegts/zq_udp_src.h"

#include <gst/base/gstpushsrc.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

GST_DEBUG_CATEGORY_EXTERN(zq_udp_src_debug);

/// What belongs to one element; the settings are read and written by any thread.
struct zq_udp_src_instance
{
    explicit zq_udp_src_instance(GstBaseSrc* element) : source{element} {}

    /// Of an element of the type GstZqUdpSrc.
    [[nodiscard]] static zq_udp_src_instance& of(gpointer object);
    [[nodiscard]] zq_udp_src_settings settings_now();

    std::mutex mutex;
    zq_udp_src_settings settings; ///< under the mutex
    bool rtp_scheme = false;      ///< under the mutex
    zq_udp_src source;
    std::atomic<std::thread::id> streaming_thread{}; ///< that which received last
};

struct GstZqUdpSrc
{
    GstPushSrc parent;
    zq_udp_src_instance* data;
};

void zq_udp_src_install_properties(GObjectClass* object_class);
void zq_udp_src_set_property(GObject* object, guint id, const GValue* value, GParamSpec* param);
void zq_udp_src_get_property(GObject* object, guint id, GValue* value, GParamSpec* param);

/// The address as a URI, without parameters.
[[nodiscard]] std::string zq_udp_src_uri(zq_udp_src_instance& data);
/// Sets what the URI says; what it leaves out stays. False with a sentence in `error`; nothing is changed then.
[[nodiscard]] bool zq_udp_src_set_uri(GObject* object, const gchar* text, std::string& error);
