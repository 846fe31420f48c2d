// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_net_run.h"

#include "zq_net_source/zq_net_buffer_pool.h"
#include "zq_net_source/zq_t2mi_provider.h"

using std::chrono::steady_clock;

zq_net_run::zq_net_run(std::shared_ptr<zq_net_pad> pad, std::shared_ptr<zq_net_statistics> statistics,
                       zq_net_settings settings)
    : pad_{std::move(pad)},
      statistics_{std::move(statistics)},
      settings_{std::move(settings)},
      receiver_{[this](unsigned long timestamp, unsigned char* data, unsigned long size) {
                    push_data(timestamp, data, size);
                },
                *statistics_, [this] { prepare(); }}
{}

void zq_net_run::start(std::shared_ptr<zq_net_run> predecessor, std::chrono::milliseconds grace)
{
    predecessor_ = std::move(predecessor);
    start_time_ = steady_clock::now();
    if (receiver_.open(settings_.address, settings_.port, settings_.interface))
        prepared_.get_future().wait_for(grace);
    else if (!predecessor_ && zq_net_pad::isConnect(pad_->pad.get()))
        announce(); // and no allocation query, which may block: no data will come
}

void zq_net_run::prepare()
{
    if (predecessor_ && !wait_for_predecessor())
        return;
    // On this thread, because the allocation query waits in a downstream queue until that has run empty.
    neogation();
    make_provider();
    prepared_.set_value();
}

bool zq_net_run::neogation() { return !zq_net_pad::isConnect(pad_->pad.get()) || net_neogation(); }

bool zq_net_run::announce()
{
    pad_->send_stream_start("asi");
    if (pad_->set_pad_caps())
        return true;
    g_print("zqnetsource: Can't set asi caps.");
    return false;
}

bool zq_net_run::net_neogation()
{
    if (!announce())
        return false;
    auto pool = negotiate_buffer_pool(pad_->pad.get());
    const std::lock_guard lock{pool_mutex_};
    pool_ = std::move(pool);
    return true;
}

void zq_net_run::make_provider()
{
    if (settings_.input_type == 0)
        provider_ = std::make_shared<zq_data_provider>(*pad_, pool_, *statistics_);
    else if (settings_.input_type == 1)
        provider_ = std::make_shared<zq_t2mi_provider>(*pad_, pool_, *statistics_, settings_.plp);
}

bool zq_net_run::stop(std::chrono::milliseconds grace)
{
    receiver_.ask_to_stop();
    {
        // Wakes a thread that waits for a free buffer.
        const std::lock_guard lock{pool_mutex_};
        if (pool_)
            gst_buffer_pool_set_flushing(pool_.get(), TRUE);
    }
    if (!receiver_.close_for(grace))
        return false;
    provider_.reset();
    pool_.reset();
    return true;
}

void zq_net_run::abandon(std::shared_ptr<zq_net_run> run)
{
    zq_udp_source& receiver = run->receiver_;
    receiver.abandon(std::move(run));
}

bool zq_net_run::push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size)
{
    statistics_->set_system_time(receiver_.thread_start() + std::chrono::nanoseconds{timestamp} - start_time_);
    if (!zq_net_pad::isConnect(pad_->pad.get()))
        return false;
    if (segment_pending_)
        send_segment(timestamp);
    statistics_->add_data(size);
    if (provider_)
        provider_->push_data(timestamp, data, size, true);
    return true;
}

bool zq_net_run::wait_for_predecessor()
{
    while (!predecessor_->stop(std::chrono::milliseconds{20}))
        if (receiver_.stopping())
            return false;
    predecessor_.reset();
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
    if (const zq_element_pointer element{gst_pad_get_parent_element(pad_->pad.get())}) {
        const GstClockTime running_time = gst_element_get_current_running_time(element.get());
        if (GST_CLOCK_TIME_IS_VALID(running_time))
            segment->base = running_time;
    }
    gst_pad_push_event(pad_->pad.get(), gst_event_new_segment(segment.get()));
    segment_pending_ = false;
}
