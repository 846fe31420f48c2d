// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "http_client.h"
#include "support/watchdog.h"
#include "tools/monitor/http_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace monitor_http
{
/// With a server that tells back the path, or without end on /live until it is stopped.
class HttpServer : public testing::Test
{
protected:
    /// The library makes at the first request what it keeps, under a guard that ThreadSanitizer does not see.
    static void SetUpTestSuite()
    {
        monitor::http_server first([](const std::string&) { return monitor::http_answer(); });
        ASSERT_TRUE(first.start({"127.0.0.1", 0})) << first.error();
        ASSERT_NE(ask(first.port(), "/"), "");
    }

    void start(const monitor::http_server::limits& bounds = {})
    {
        server.emplace([this](const std::string& path) { return answer(path); }, bounds);
        ASSERT_TRUE(server->start({"127.0.0.1", 0})) << server->error();
        port = server->port();
    }
    void TearDown() override
    {
        ended = true;
        server.reset();
    }

    monitor::http_answer answer(const std::string& path)
    {
        monitor::http_answer given;
        if (path == "/live")
            given.live = [this]() -> std::shared_ptr<const std::string> {
                if (ended)
                    return nullptr;
                std::this_thread::sleep_for(std::chrono::milliseconds{1});
                return std::make_shared<const std::string>("data: x\n\n");
            };
        else if (path == "/flood")
            given.live = [this]() -> std::shared_ptr<const std::string> {
                return ended ? nullptr : std::make_shared<const std::string>(flood, 'x');
            };
        else if (path == "/metrics" && metrics)
            given.body = metrics;
        else
            given.body = std::make_shared<const std::string>(path == "/large" ? std::string(large, 'x') : path);
        ++answered;
        return given;
    }

    static constexpr std::size_t large = std::size_t{64} << 20, flood = std::size_t{1} << 20;

    support::watchdog watchdog;
    std::atomic<bool> ended{false};
    std::atomic<unsigned> answered{0};
    std::uint16_t port = 0;
    std::shared_ptr<const std::string> metrics; ///< of /metrics, when it is not the path; set before that is asked for
    std::optional<monitor::http_server> server;
};
} // namespace monitor_http
