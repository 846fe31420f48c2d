// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <cstdint>
#include <string>

namespace support
{
/// `zqnetsource ! ...` on a free port, with everything that leaves the source recorded.
class playing
{
public:
    explicit playing(const std::string& rest = "fakesink sync=false", const std::string& properties = "")
        : port{free_port()},
          pipeline{parse("zqnetsource name=src port=" + std::to_string(port) + " " + properties + " ! " + rest)},
          source{named(pipeline, "src")},
          recorder{pad_of(source, "src_net").get()},
          sender{"127.0.0.1", port}
    {}
    ~playing() { set_state(pipeline, GST_STATE_NULL); }

    GstStateChangeReturn set(GstState state) { return set_state(pipeline, state); }
    bool saw(std::size_t count)
    {
        return eventually([&] { return recorder.count() >= count; });
    }

private:
    watchdog m_guard;

public:
    std::uint16_t port;
    support::element pipeline;
    support::element source;
    support::recorder recorder;
    udp_sender sender;
};
} // namespace support
