// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace monitor
{
/// What a request is answered with.
struct http_answer
{
    int status = 200;
    std::string content_type = "text/plain; charset=utf-8";
    std::shared_ptr<const std::string> body;
    /// For server-sent events instead of `body`: gives the next text to send, waiting for it; null ends the connection.
    std::function<std::shared_ptr<const std::string>()> live;
};

/// Where to listen.
struct http_address
{
    std::string host = "127.0.0.1";
    std::uint16_t port = 0; ///< 0: the system's choice
};

/// "[ADDRESS:]PORT", an IPv6 address in brackets; without an address the loopback. Nothing when `text` is something
/// else.
[[nodiscard]] std::optional<http_address> parse_http_address(const std::string& text);

/// Answers GET and HEAD over HTTP/1.1, one request a connection, in threads of its own, and bounded in every way:
/// whoever sends slowly, too much, or in great numbers is cut off or refused. While all workers are busy, /healthz,
/// /readyz and /metrics are answered beside them, by the first words of the request; of those readers who stands still
/// the longest gives way to the next.
class http_server
{
public:
    struct limits
    {
        std::size_t workers = 64;          ///< connections served at a time; those beyond wait
        std::size_t live_connections = 48; ///< of those
        std::size_t waiting = 128;         ///< those beyond are answered 503 and closed
        std::size_t kept_places = 32;      ///< beside all these, for /healthz, /readyz and /metrics
        std::size_t request_bytes = 16384;
        std::chrono::milliseconds request_time{5000}; ///< for a whole request
        std::chrono::milliseconds write_time{5000};   ///< for a whole answer, or one event
    };
    /// Answers for the path and query of a URL, which are decoded already; called from any of the threads.
    using responder = std::function<http_answer(const std::string& path)>;

    explicit http_server(responder respond) : http_server(std::move(respond), limits{}) {}
    http_server(responder respond, const limits& bounds);
    ~http_server(); ///< as stop()
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;

    /// Begins to answer. False with a sentence in error().
    [[nodiscard]] bool start(const http_address& address);
    /// Waits for the answers that are under way; who gives those of `live` has ended them before.
    void stop();
    /// Answers one request on a stream socket that came from elsewhere, in the thread that calls, and closes it.
    void serve(int socket);

    [[nodiscard]] std::uint16_t port() const;
    [[nodiscard]] const std::string& error() const { return m_error; }

private:
    class server;

    std::unique_ptr<server> m_server;
    std::string m_error;
};
} // namespace monitor
