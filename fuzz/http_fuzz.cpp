// SPDX-License-Identifier: LGPL-2.1-or-later
// The input is what a client of zq-monitor sends, whole: the request line, headers, and what it has behind them. What
// it gets is nothing, or one answer of HTTP that forbids foreign scripts, with a body that is what its type says.
#include "support/StrictJson.h"
#include "tools/monitor/http_server.h"
#include "tools/monitor/surveys.h"
#include "tools/monitor/web_site.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <unistd.h>

namespace http_target
{
void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// With names that want to be escaped. It has ended, or those who follow it would wait for its next second.
monitor::web_site& site()
{
    static monitor::web_site made({"0", monitor_surveys::noon});
    static const bool is_filled = [] {
        auto report = monitor_surveys::report_of("News");
        monitor_surveys::add_service(report, "<script>\"\\");
        monitor_surveys::add_PID(report, 0x100, true);
        monitor_surveys::add_PLP(report, 1);
        made.publish(monitor_surveys::survey_of(report, monitor_surveys::report_of("a/b \"\n<%20>\xFF")));
        made.end();
        return true;
    }();
    (void)is_filled;
    return made;
}

std::string answer_to(const std::uint8_t* data, std::size_t size)
{
    monitor::http_server::limits bounds;
    bounds.workers = 0;
    static monitor::http_server server([](const std::string& path) { return site().answer(path); }, bounds);
    std::array<int, 2> ends{};
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0);
    require(send(ends[0], data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size));
    shutdown(ends[0], SHUT_WR);
    server.serve(ends[1]);
    std::string text;
    std::array<char, 65536> part;
    for (ssize_t got; (got = recv(ends[0], part.data(), part.size(), 0)) > 0;)
        text.append(part.data(), static_cast<std::size_t>(got));
    close(ends[0]);
    return text;
}

/// All of a header's lines, in front of `body`; the value of one, or nothing.
std::string_view header(std::string_view head, std::string_view name)
{
    const auto line = head.find("\r\n" + std::string(name) + ": ");
    if (line == std::string_view::npos)
        return {};
    const auto begin = line + name.size() + 4;
    return head.substr(begin, head.find("\r\n", begin) - begin);
}

void check(std::string_view text, bool is_GET)
{
    const auto end = text.find("\r\n\r\n");
    require(text.substr(0, 9) == "HTTP/1.1 " && end != std::string_view::npos);
    const auto head = text.substr(0, end + 2), body = text.substr(end + 4);
    require(!header(head, "Content-Security-Policy").empty());
    require(header(head, "Connection") == "close");
    // Behind HEAD, which the library takes with other bytes in front of it too, there is no body.
    if (!is_GET || header(head, "Transfer-Encoding") == "chunked")
        return;
    require(header(head, "Content-Length") == std::to_string(body.size()));
    if (header(head, "Content-Type") == "application/json")
        require(zqtest::strict_json(std::string(body)).has_value());
    // Nothing of a request comes back in a type that a browser would run.
    const auto type = header(head, "Content-Type");
    require(type.substr(0, 9) != "text/html" || body.substr(0, 15) == "<!DOCTYPE html>");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The client's room in the kernel; the server reads no more than that either.
    constexpr std::size_t most = 32768;
    if (size > most)
        return 0;
    const auto text = answer_to(data, size);
    const std::string_view request(reinterpret_cast<const char*>(data), size);
    if (!text.empty() && text.compare(0, 12, "HTTP/1.1 100") != 0)
        check(text, request.substr(0, 4) == "GET ");
    return 0;
}
} // namespace http_target
