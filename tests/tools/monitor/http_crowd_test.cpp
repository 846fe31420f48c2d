// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/http_server.h"

#include "http_fixture.h"
#include "support/open_descriptors.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <deque>
#include <thread>
#include <vector>

namespace http_crowd_test
{
using monitor::http_server;
using monitor_http::ask;
using monitor_http::body_of;
using monitor_http::connection;
using support::eventually;
using testing::HasSubstr;
using testing::StartsWith;

class HttpCrowd : public monitor_http::HttpServer
{
protected:
    void TearDown() override
    {
        slow.clear();
        HttpServer::TearDown();
    }

    /// Starts it with few places, all of which are held for good by requests that never end.
    void fill(std::chrono::milliseconds write_time = std::chrono::hours{1})
    {
        http_server::limits bounds;
        bounds.workers = 2;
        bounds.waiting = 3;
        bounds.kept_places = 2;
        bounds.request_time = std::chrono::hours{1};
        bounds.write_time = write_time;
        start(bounds);
        // While the workers have not taken up the first ones, others are refused though there will be room.
        const auto is_full = [&] {
            const auto held =
                std::count_if(slow.begin(), slow.end(), [](const auto& each) { return !each.has_answer(); });
            return held == 2 + 3 && slow.back().has_answer();
        };
        do {
            slow.emplace_back(port).send("GET / HTTP/1.1\r\n");
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
        } while (!is_full());
    }

    std::deque<connection> slow;
};

const char* const ask_for_metrics = "GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n";

TEST_F(HttpCrowd, ProbesAndMetricsAreAnsweredHoweverManyKeepItBusy)
{
    fill();
    for (const char* const path : {"/healthz", "/readyz", "/metrics"}) {
        const auto text = ask(port, path);
        EXPECT_THAT(text, StartsWith("HTTP/1.1 200 OK\r\n"));
        EXPECT_EQ(body_of(text), path);
    }
    EXPECT_THAT(ask(port, "/metricss"), StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(ask(port, "/metrics", "POST"), StartsWith("HTTP/1.1 503 "));
}

TEST_F(HttpCrowd, ARequestForTheHeadIsAnsweredWithoutABody)
{
    fill();
    for (const char* const path : {"/healthz", "/metrics"}) {
        const auto text = ask(port, path, "HEAD");
        EXPECT_THAT(text, StartsWith("HTTP/1.1 200 OK\r\n"));
        EXPECT_THAT(text, HasSubstr("Content-Length: 8\r\n"));
        EXPECT_EQ(body_of(text), "");
    }
}

TEST_F(HttpCrowd, ItsAnswersHaveTheHeadersOfAllOthers)
{
    fill();
    for (const char* const path : {"/healthz", "/metrics", "/refused"}) {
        const auto text = ask(port, path);
        EXPECT_THAT(text, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; script-src 'self';"));
        EXPECT_THAT(text, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(text, HasSubstr("\r\nReferrer-Policy: no-referrer\r\n"));
        EXPECT_THAT(text, HasSubstr("\r\nCache-Control: no-store\r\n"));
        EXPECT_THAT(text, HasSubstr("\r\nConnection: close\r\n"));
    }
}

TEST_F(HttpCrowd, WhoAsksForMetricsAndDoesNotReadThemGivesWayToTheNext)
{
    fill();
    metrics = std::make_shared<const std::string>(large, 'x');
    std::deque<connection> still;
    for (int count = 0; count < 5; ++count) {
        still.emplace_back(port).send(ask_for_metrics);
        // Until nothing more fits between the two.
        ASSERT_TRUE(eventually([&] {
            const int before = still.back().unreceived();
            std::this_thread::sleep_for(std::chrono::milliseconds{50});
            return before > 0 && still.back().unreceived() == before;
        }));
    }
    // In place of the last but one of these, in one of two places.
    EXPECT_EQ(body_of(ask(port, "/metrics")).size(), large);
    EXPECT_EQ(body_of(still.back().receive()).size(), large);
    still.pop_back();
    for (const auto& each : still)
        EXPECT_LT(each.receive().size(), large);
    EXPECT_EQ(body_of(ask(port, "/readyz")), "/readyz");
}

TEST_F(HttpCrowd, WhoIsTooSlowWithMetricsIsCutOff)
{
    fill(std::chrono::milliseconds{300});
    metrics = std::make_shared<const std::string>(large, 'x');
    const connection still(port);
    const auto before = support::open_descriptors();
    still.send(ask_for_metrics);
    ASSERT_TRUE(eventually([&] { return still.has_answer(); }));
    EXPECT_TRUE(eventually([&] { return support::open_descriptors() == before; }));
    EXPECT_LT(still.receive().size(), large);
}

TEST_F(HttpCrowd, ItEndsThoughMetricsAreNotRead)
{
    fill(std::chrono::milliseconds{300});
    metrics = std::make_shared<const std::string>(large, 'x');
    const connection still(port);
    still.send(ask_for_metrics);
    ASSERT_TRUE(eventually([&] { return still.has_answer(); }));
    slow.clear();
    server.reset();
    EXPECT_LT(still.receive().size(), large);
}

TEST_F(HttpCrowd, AThousandAtOnceAreServedOrRefusedAndNoneIsLeft)
{
    start();
    std::vector<std::thread> clients;
    std::atomic<unsigned> good{0}, refused{0};
    for (int thread = 0; thread < 8; ++thread)
        clients.emplace_back([&] {
            std::deque<connection> many;
            for (int count = 0; count < 125; ++count)
                many.emplace_back(port).send("GET /a HTTP/1.1\r\nHost: x\r\n\r\n");
            for (const auto& each : many) {
                const auto text = each.receive();
                good += text.find("200 OK") != std::string::npos ? 1 : 0;
                refused += text.find("503 ") != std::string::npos ? 1 : 0;
            }
        });
    for (auto& client : clients)
        client.join();
    EXPECT_GT(good, 0U);
    EXPECT_LE(good + refused, 1000U);
    EXPECT_THAT(ask(port, "/b"), StartsWith("HTTP/1.1 200 OK"));
}
} // namespace http_crowd_test
