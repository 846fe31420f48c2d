// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_source.h"

#include "zq_net_source/zq_gst_net_source.h"

#include <string>

#define GST_CAT_DEFAULT gst_zq_net_source_debug

using namespace std::chrono_literals;

namespace
{
/// How long downstream may hold up a pause or a start. Sinks go to PAUSED before sources, so a push into a sink that
/// waits for preroll is the usual case and never returns by itself.
constexpr auto downstream_grace = 200ms;
/// The same once downstream is out of service, when every push comes back at once unless something is broken.
constexpr auto teardown_grace = 1000ms;

/// An event on its way to the pad on another thread.
struct push_event_call
{
    std::shared_ptr<zq_net_pad> pad;
    GstEvent* event;
};

void run_push_event(GstElement*, gpointer data)
{
    auto* const call = static_cast<push_event_call*>(data);
    gst_pad_push_event(call->pad->pad.get(), gst_event_ref(call->event));
}

void release_push_event(gpointer data)
{
    auto* const call = static_cast<push_event_call*>(data);
    gst_event_unref(call->event);
    delete call;
}

class object_lock
{
public:
    explicit object_lock(GstElement* element) : m_element{element} { GST_OBJECT_LOCK(m_element); }
    ~object_lock() { GST_OBJECT_UNLOCK(m_element); }
    object_lock(const object_lock&) = delete;
    object_lock& operator=(const object_lock&) = delete;

private:
    GstElement* m_element;
};
} // namespace

zq_net_source::zq_net_source(GstElement* element, GstElementClass* parent_class)
    : m_element{element},
      m_parent_class{parent_class},
      m_statistics{std::make_shared<zq_net_statistics>()},
      m_pad{std::make_shared<zq_net_pad>()}
{
    create_net_pad();
}

zq_net_source::~zq_net_source()
{
    close();
    if (m_aside)
        zq_net_run::abandon(std::move(m_aside));
}

bool zq_net_source::create_net_pad() { return m_pad->create_net_pad(m_element); }

void zq_net_source::set_property(guint id, const GValue* value, GParamSpec* param)
{
    const auto set_text = [&](std::string& text) {
        const gchar* given = g_value_get_string(value);
        if (given == nullptr) {
            GST_WARNING_OBJECT(m_element, "NULL is no value for property %s", param->name);
            return;
        }
        std::string copy{given};
        const object_lock lock{m_element};
        text = std::move(copy);
    };
    switch (id) {
    case address:
        return set_text(m_settings.address);
    case interface:
        return set_text(m_settings.interface);
    case port: {
        const object_lock lock{m_element};
        m_settings.port = static_cast<std::uint16_t>(g_value_get_uint(value));
        return;
    }
    case input_type: {
        const object_lock lock{m_element};
        m_settings.input_type = g_value_get_int(value);
        return;
    }
    case plp: {
        const object_lock lock{m_element};
        m_settings.plp = static_cast<std::uint8_t>(g_value_get_int(value));
        return;
    }
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(m_element, id, param);
    }
}

void zq_net_source::get_property(guint id, GValue* value, GParamSpec* param)
{
    const auto settings = [this] {
        const object_lock lock{m_element};
        return m_settings;
    };
    switch (id) {
    case address:
        return g_value_set_string(value, settings().address.c_str());
    case port:
        return g_value_set_uint(value, settings().port);
    case interface:
        return g_value_set_string(value, settings().interface.c_str());
    case input_type:
        return g_value_set_int(value, settings().input_type);
    case plp:
        return g_value_set_int(value, settings().plp);
    case statistics:
        return get_statistics(value);
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(m_element, id, param);
    }
}

void zq_net_source::get_statistics(GValue* value)
{
    if (value != nullptr)
        g_value_set_pointer(value, m_statistics.get());
}

GstStateChangeReturn zq_net_source::change_state(GstStateChange transition)
{
    const auto chain_up = [&] { return m_parent_class->change_state(m_element, transition); };
    if (transition == GST_STATE_CHANGE_NULL_TO_READY) {
        g_print("zq_net_source: NULL_TO_READY\n");
        return chain_up();
    }
    if (transition == GST_STATE_CHANGE_PAUSED_TO_PLAYING) {
        g_print("zq_net_source: PAUSED_TO_PLAYING\n");
        start();
        return chain_up();
    }

    const GstStateChangeReturn result = chain_up();
    if (result == GST_STATE_CHANGE_FAILURE)
        return result;
    switch (transition) {
    case GST_STATE_CHANGE_READY_TO_NULL:
        g_print("zq_net_source: READY_TO_NULL\n");
        close();
        return result;
    case GST_STATE_CHANGE_PLAYING_TO_PAUSED:
        g_print("zq_net_source: PLAYING_TO_PAUSED\n");
        stop();
        return GST_STATE_CHANGE_NO_PREROLL;
    case GST_STATE_CHANGE_READY_TO_PAUSED:
        return GST_STATE_CHANGE_NO_PREROLL;
    case GST_STATE_CHANGE_PAUSED_TO_READY:
        // Leaving PAUSED took the pads out of service, so a push that was held has come back.
        collect(teardown_grace);
        return result;
    default:
        return result;
    }
}

bool zq_net_source::send_event(GstEvent* event)
{
    if (GST_EVENT_TYPE(event) != GST_EVENT_EOS)
        return m_parent_class->send_event(m_element, event) != FALSE;
    // On a thread of its own: the caller holds the state lock, which a sink that prerolls with this event needs.
    gst_element_call_async(m_element, run_push_event, new push_event_call{m_pad, event}, release_push_event);
    return true;
}

bool zq_net_source::start()
{
    try {
        stop();
        collect(downstream_grace);
        m_statistics->reset();
        {
            const object_lock lock{m_element};
            m_run = std::make_shared<zq_net_run>(m_pad, m_statistics, m_settings);
        }
        m_run->start(std::move(m_aside), downstream_grace);
    } catch (...) {
        note_exception();
    }
    return true;
}

void zq_net_source::stop()
{
    if (!m_run)
        return;
    const auto run = std::move(m_run);
    m_aside = run->stop(downstream_grace) ? run->take_predecessor() : run;
}

void zq_net_source::close()
{
    stop();
    collect(teardown_grace);
}

void zq_net_source::collect(std::chrono::milliseconds grace)
{
    while (m_aside && m_aside->stop(grace))
        m_aside = m_aside->take_predecessor();
}

void zq_net_source::note_exception() noexcept { m_statistics->note_exception(); }

std::string zq_net_source::pts_to_string(GstClockTime pts)
{
    return std::to_string(static_cast<std::uint64_t>(static_cast<double>(pts) / 1e6));
}

void zq_net_source::shut_down()
{
    if (m_run || m_aside)
        gst_pad_set_active(m_pad->pad.get(), FALSE);
    close();
    // An element that is disposed of above NULL keeps its pads and would leak this one.
    if (GST_OBJECT_PARENT(m_pad->pad.get()) == GST_OBJECT_CAST(m_element) && GST_STATE(m_element) != GST_STATE_NULL)
        gst_element_remove_pad(m_element, m_pad->pad.get());
}
