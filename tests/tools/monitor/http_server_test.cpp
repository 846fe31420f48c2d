// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/http_server.h"

#include "http_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <thread>

namespace http_server_test
{
using monitor::http_answer;
using monitor::http_server;
using monitor_http::ask;
using monitor_http::connection;
using monitor_http::HttpServer;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

http_server::limits small()
{
    http_server::limits bounds;
    bounds.workers = 2;
    bounds.live_connections = 1;
    bounds.waiting = 2;
    return bounds;
}

/// Which cuts off soon, too.
http_server::limits small_and_hasty()
{
    auto bounds = small();
    bounds.request_time = bounds.write_time = std::chrono::milliseconds{300};
    return bounds;
}

TEST_F(HttpServer, AnswersAndClosesAndForbidsForeignScripts)
{
    start();
    const auto text = ask(port, "/a%20b?c=d");
    EXPECT_THAT(text, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(text, HasSubstr("Content-Security-Policy: default-src 'none'; script-src 'self';"));
    EXPECT_THAT(text, HasSubstr("X-Content-Type-Options: nosniff\r\n"));
    EXPECT_THAT(text, HasSubstr("Connection: close\r\n"));
    EXPECT_EQ(monitor_http::body_of(text), "/a b");
}

TEST_F(HttpServer, OnlyReads)
{
    start();
    for (const auto* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
        const auto text = ask(port, "/a", method);
        EXPECT_THAT(text, StartsWith("HTTP/1.1 405 ")) << method;
        EXPECT_THAT(text, HasSubstr("Allow: GET, HEAD\r\n")) << method;
    }
    EXPECT_EQ(answered, 0U);
    EXPECT_EQ(monitor_http::body_of(ask(port, "/a", "HEAD")), "");
    EXPECT_THAT(ask(port, "/a", "HEAD"), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(HttpServer, ABodyIsNotWaitedFor)
{
    start();
    const connection to(port);
    to.send("POST /a HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000000\r\n\r\n");
    EXPECT_THAT(to.receive(), StartsWith("HTTP/1.1 405 "));
}

TEST_F(HttpServer, RangesAreNotGiven)
{
    start();
    const connection to(port);
    to.send("GET /abc HTTP/1.1\r\nHost: x\r\nRange: bytes=0-,0-,0-,0-,0-\r\n\r\n");
    EXPECT_EQ(monitor_http::body_of(to.receive()), "/abc");
}

TEST_F(HttpServer, ARangeOfAnyLengthIsNotLookedAt)
{
    start();
    for (const char* const name : {"Range", "range", "RANGE"}) {
        const connection to(port);
        std::string ranges = "bytes=0-";
        while (ranges.size() < 8000)
            ranges += ",0-";
        to.send("GET /abc HTTP/1.1\r\nHost: x\r\n" + std::string(name) + ": " + ranges + "\r\n\r\n");
        EXPECT_EQ(monitor_http::body_of(to.receive()), "/abc");
    }
    const connection to(port);
    to.send("GET /abc HTTP/1.1\r\nHost: x\r\nRange: what?\r\n\r\n");
    EXPECT_EQ(monitor_http::body_of(to.receive()), "/abc");
}

TEST_F(HttpServer, ARequestThatIsTooLongIsCutOff)
{
    start();
    const connection to(port);
    to.send("GET /a HTTP/1.1\r\n");
    std::string header = "X: " + std::string(1000, 'x') + "\r\n";
    for (int count = 0; count < 100; ++count)
        to.send(header);
    EXPECT_THAT(to.receive(), Not(HasSubstr("200 OK")));
    EXPECT_EQ(answered, 0U);
    EXPECT_THAT(ask(port, "/b"), StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(HttpServer, WhatIsNoHTTPIsRefused)
{
    start();
    const std::vector<std::string> texts{std::string("\0\0\0\0\r\n\r\n", 8), "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n",
                                         std::string(5000, 'x') + "\r\n\r\n"};
    for (const auto& text : texts) {
        const connection to(port);
        to.send(text);
        EXPECT_THAT(to.receive(), Not(HasSubstr("200 OK")));
    }
    EXPECT_EQ(answered, 0U);
}

TEST_F(HttpServer, WhoSendsSlowlyIsCutOffHoweverSteadily)
{
    start(small_and_hasty());
    const connection to(port);
    const auto begun = std::chrono::steady_clock::now();
    bool sent = to.send("GET / HTTP/1.1\r\n");
    while (sent && std::chrono::steady_clock::now() < begun + std::chrono::seconds{20}) {
        sent = to.send("X");
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
    EXPECT_FALSE(sent);
}

TEST_F(HttpServer, WhatHasComeInTimeIsAnsweredHoweverLateItsWorkerIs)
{
    http_server::limits bounds;
    bounds.request_time = bounds.write_time = std::chrono::milliseconds{0}; // over before the worker looks
    start(bounds);
    EXPECT_EQ(monitor_http::body_of(ask(port, "/a")), "/a");
}

TEST_F(HttpServer, WhoDoesNotReadIsCutOff)
{
    start(small_and_hasty());
    const connection to(port);
    to.send("GET /large HTTP/1.1\r\nHost: x\r\n\r\n");
    ASSERT_TRUE(support::eventually([&] { return answered == 1; }));
    // Both of two workers are free again, or the second of these would wait for ever.
    const connection other(port);
    other.send("GET /large HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_TRUE(support::eventually([&] { return ask(port, "/b").find("200 OK") != std::string::npos; }));
    EXPECT_LT(to.receive().size(), large);
}

TEST_F(HttpServer, TooManyAreToldToComeAgain)
{
    auto bounds = small();
    bounds.request_time = std::chrono::minutes{5}; // those who are served keep their places
    start(bounds);
    std::deque<connection> many;
    for (int count = 0; count < 30; ++count)
        many.emplace_back(port).send("GET / HTTP/1.1\r\n");
    const auto answered_ones = [&] {
        return std::count_if(many.begin(), many.end(), [](const connection& each) { return each.has_answer(); });
    };
    // Two are served; two wait, or less while those were not taken up yet.
    EXPECT_TRUE(support::eventually([&] { return answered_ones() >= 30 - 2 - 2; }));
    for (const auto& each : many)
        if (each.has_answer()) {
            EXPECT_THAT(each.receive(), StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
        }
    many.clear();
    EXPECT_TRUE(support::eventually([&] { return ask(port, "/b").find("200 OK") != std::string::npos; }));
}

TEST_F(HttpServer, LiveAnswersGoOnAndHaveABoundOfTheirOwn)
{
    start(small());
    const connection first(port);
    first.send("GET /live HTTP/1.1\r\nHost: x\r\n\r\n");
    const auto text = first.receive("data: x\n\n");
    EXPECT_THAT(text, HasSubstr("Content-Type: text/event-stream\r\n"));
    EXPECT_THAT(ask(port, "/live"), StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(ask(port, "/b"), StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(HttpServer, AViewerWhoWentMakesRoomForTheNext)
{
    start(small());
    for (int count = 0; count < 3; ++count)
        EXPECT_TRUE(support::eventually([&] {
            const connection viewer(port);
            viewer.send("GET /live HTTP/1.1\r\nHost: x\r\n\r\n");
            return viewer.receive("\r\n\r\n").find("200 OK") != std::string::npos;
        }));
}

TEST_F(HttpServer, AViewerWhoDoesNotReadIsCutOff)
{
    start(small_and_hasty());
    const connection viewer(port);
    viewer.send("GET /flood HTTP/1.1\r\nHost: x\r\n\r\n");
    ASSERT_TRUE(support::eventually([&] { return viewer.has_answer(); }));
    EXPECT_TRUE(support::eventually([&] {
        const connection next(port);
        next.send("GET /live HTTP/1.1\r\nHost: x\r\n\r\n");
        return next.receive("\r\n\r\n").find("200 OK") != std::string::npos;
    }));
}

TEST_F(HttpServer, APortThatIsTakenIsTold)
{
    start();
    http_server second([](const std::string&) { return http_answer(); });
    EXPECT_FALSE(second.start({"127.0.0.1", port}));
    EXPECT_EQ(second.error(), "cannot listen on 127.0.0.1:" + std::to_string(port) + ": Address already in use");
    http_server elsewhere([](const std::string&) { return http_answer(); });
    EXPECT_FALSE(elsewhere.start({"192.0.2.1", 0}));
}

TEST(HttpAddress, IsAPortWithOrWithoutAnAddress)
{
    EXPECT_EQ(monitor::parse_http_address("8080")->host, "127.0.0.1");
    EXPECT_EQ(monitor::parse_http_address("8080")->port, 8080);
    EXPECT_EQ(monitor::parse_http_address("0.0.0.0:80")->host, "0.0.0.0");
    EXPECT_EQ(monitor::parse_http_address("[::1]:80")->host, "::1");
    for (const auto* wrong : {"", ":80", "::1:80", "80a", "65536", "a:", "[]:80"})
        EXPECT_FALSE(monitor::parse_http_address(wrong)) << wrong;
}
} // namespace http_server_test
