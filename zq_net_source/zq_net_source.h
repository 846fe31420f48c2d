// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net_source/zq_net_pad.h"
#include "zq_net_source/zq_net_run.h"
#include "zq_net_source/zq_net_statistics.h"

#include <chrono>
#include <memory>
#include <string>

/// The engine behind one `zqnetsource` instance: properties, statistics, source pad, and the run between start() and
/// stop(). State changes and start/stop come one at a time (GStreamer's state lock); properties from any thread.
class zq_net_source
{
public:
    /// Property ids in the order of their installation.
    enum property : guint
    {
        address = 1,
        port,
        interface,
        input_type,
        plp,
        statistics,
    };

    /// `element` owns the engine and outlives it. Adds the source pad to it.
    zq_net_source(GstElement* element, GstElementClass* parent_class);
    ~zq_net_source();
    zq_net_source(const zq_net_source&) = delete;
    zq_net_source& operator=(const zq_net_source&) = delete;

    /// Values take effect at the next start(). A NULL string leaves its property unchanged.
    void set_property(guint id, const GValue* value, GParamSpec* param);
    void get_property(guint id, GValue* value, GParamSpec* param);
    /// Sets `value` to the address of the statistics, valid as long as the element; does nothing for null.
    void get_statistics(GValue* value);

    GstStateChangeReturn change_state(GstStateChange transition);

    /// Takes `event` over. An end-of-stream event leaves through the source pad, so that an application can end a
    /// recording cleanly; anything else goes the way of every element.
    bool send_event(GstEvent* event);

    /// Network on. Always true: a socket that cannot be opened leaves a silent element and a line on standard output.
    bool start();
    /// Network off; returns within about 0.2 s even when downstream holds the receive thread.
    void stop();
    /// stop(), and collects what an earlier stop() had to set aside.
    void close();

    /// Makes the exception that is being handled the last error. For the C callbacks, which no exception may leave.
    void note_exception() noexcept;

    /// Whole milliseconds of a time stamp in nanoseconds, in decimal.
    [[nodiscard]] static std::string pts_to_string(GstClockTime pts);

    /// For an element that is let go while it plays: takes the pad out of service first, so that nothing more can
    /// be pushed, then stops.
    void shut_down();

private:
    bool create_net_pad();
    void collect(std::chrono::milliseconds grace);

    GstElement* m_element;
    GstElementClass* m_parent_class;
    std::shared_ptr<zq_net_statistics> m_statistics;
    std::shared_ptr<zq_net_pad> m_pad;
    zq_net_settings m_settings; // under the element's object lock
    std::shared_ptr<zq_net_run> m_run;
    std::shared_ptr<zq_net_run> m_aside; // stopped, but its thread still sits in a push
};
