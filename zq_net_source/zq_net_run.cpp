// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_run.h"

#include "zq_net_source/zq_net_buffer_pool.h"
#include "zq_net_source/zq_t2mi_provider.h"

using std::chrono::steady_clock;

zq_net_run::zq_net_run(std::shared_ptr<zq_net_pad> pad, std::shared_ptr<zq_net_statistics> statistics,
                       zq_net_settings settings)
    : m_pad{std::move(pad)},
      m_statistics{std::move(statistics)},
      m_settings{std::move(settings)},
      m_receiver{[this](std::uint64_t timestamp, unsigned char* data, unsigned long size) {
                     push_data(timestamp, data, size);
                 },
                 *m_statistics, [this] { prepare(); }}
{}

void zq_net_run::start(std::shared_ptr<zq_net_run> predecessor, std::chrono::milliseconds grace)
{
    m_predecessor = std::move(predecessor);
    m_start_time = steady_clock::now();
    if (!m_receiver.open(m_settings.address, m_settings.port, m_settings.interface)) {
        m_silent = true;
        m_receiver.run_before_first();
    }
    m_prepared.get_future().wait_for(grace);
}

void zq_net_run::prepare()
{
    if (m_predecessor && !wait_for_predecessor())
        return;
    // On this thread, because what is announced waits for a blocked pad, and the allocation query in a downstream queue
    // until that has run empty.
    neogation();
    make_provider();
    m_prepared.set_value();
}

bool zq_net_run::neogation() { return !zq_net_pad::isConnect(m_pad->pad.get()) || net_neogation(); }

bool zq_net_run::announce()
{
    m_pad->send_stream_start("asi");
    if (m_pad->set_pad_caps())
        return true;
    g_print("zqnetsource: Can't set asi caps.");
    return false;
}

bool zq_net_run::net_neogation()
{
    if (!announce())
        return false;
    if (m_silent)
        return true;
    auto pool = negotiate_buffer_pool(m_pad->pad.get());
    const std::lock_guard lock{m_pool_mutex};
    m_pool = std::move(pool);
    return true;
}

void zq_net_run::make_provider()
{
    if (m_settings.input_type == 0)
        m_provider = std::make_shared<zq_data_provider>(*m_pad, m_pool, *m_statistics);
    else if (m_settings.input_type == 1)
        m_provider = std::make_shared<zq_t2mi_provider>(*m_pad, m_pool, *m_statistics, m_settings.plp);
}

bool zq_net_run::stop(std::chrono::milliseconds grace)
{
    m_receiver.ask_to_stop();
    {
        // Wakes a thread that waits for a free buffer.
        const std::lock_guard lock{m_pool_mutex};
        if (m_pool)
            gst_buffer_pool_set_flushing(m_pool.get(), TRUE);
    }
    if (!m_receiver.close_for(grace))
        return false;
    m_provider.reset();
    m_pool.reset();
    return true;
}

void zq_net_run::abandon(std::shared_ptr<zq_net_run> run)
{
    zq_udp_source& receiver = run->m_receiver;
    receiver.abandon(std::move(run));
}

bool zq_net_run::push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size)
{
    m_statistics->set_system_time(m_receiver.thread_start() + std::chrono::nanoseconds{timestamp} - m_start_time);
    if (!zq_net_pad::isConnect(m_pad->pad.get()))
        return false;
    if (m_segment_pending)
        send_segment(timestamp);
    m_statistics->add_data(size);
    if (m_provider)
        m_provider->push_data(timestamp, data, size, true);
    return true;
}

bool zq_net_run::wait_for_predecessor()
{
    while (!m_predecessor->stop(std::chrono::milliseconds{20}))
        if (m_receiver.stopping())
            return false;
    m_predecessor.reset();
    return true;
}

void zq_net_run::send_segment(std::uint64_t start)
{
    const zq_segment_pointer segment{gst_segment_new()};
    gst_segment_init(segment.get(), GST_FORMAT_TIME);
    segment->start = start;
    segment->stop = GST_CLOCK_TIME_NONE;
    segment->duration = GST_CLOCK_TIME_NONE;
    // Without the base every buffer after a pause would be late by all the time played before.
    if (const zq_element_pointer element{gst_pad_get_parent_element(m_pad->pad.get())}) {
        const GstClockTime running_time = gst_element_get_current_running_time(element.get());
        if (GST_CLOCK_TIME_IS_VALID(running_time))
            segment->base = running_time;
    }
    gst_pad_push_event(m_pad->pad.get(), gst_event_new_segment(segment.get()));
    m_segment_pending = false;
}
