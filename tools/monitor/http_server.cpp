// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/http_server.h"

#include "tools/common/parse_number.h"
#include "tools/monitor/answer_sender.h"
#include "tools/monitor/http_bounds.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <httplib.h>

namespace monitor
{
namespace
{
/// Of every answer.
constexpr std::array<std::pair<const char*, const char*>, 4> hardening{{
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; base-uri 'none'; "
     "form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"},
}};

void harden(httplib::Response& response)
{
    for (const auto& [name, value] : hardening)
        response.set_header(name, value);
}

/// The head of an answer that the library has no part in. `more` are whole lines.
std::string head_of(int status, const std::string& content_type, std::size_t size, const std::string& more = {})
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + (status == 200 ? " OK" : " Service Unavailable") + "\r\n";
    for (const auto& [name, value] : hardening)
        text.append(name).append(": ").append(value).append("\r\n");
    return text + "Content-Type: " + content_type + "\r\nContent-Length: " + std::to_string(size) + "\r\n" + more +
           "Connection: close\r\n\r\n";
}

answer_sender::answer whole_answer(const http_answer& given, bool with_body)
{
    return {head_of(given.status, given.content_type, given.body ? given.body->size() : 0),
            with_body ? given.body : nullptr};
}

void text_answer(httplib::Response& response, int status, const char* text)
{
    response.status = status;
    response.set_content(text, "text/plain; charset=utf-8");
}
} // namespace

class http_server::server final : public httplib::Server
{
public:
    server(responder respond, const limits& bounds) : m_respond(std::move(respond)), m_bounds(bounds)
    {
        new_task_queue = [this] { return new bounded_workers(m_bounds); };
        set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            answer(request, response);
            return HandlerResponse::Handled;
        });
        set_error_handler([](const httplib::Request&, httplib::Response& response) {
            if (!response.has_header("Content-Security-Policy"))
                harden(response);
            if (response.body.empty())
                response.set_content(std::to_string(response.status) + '\n', "text/plain; charset=utf-8");
        });
        // The library's own choice shares the port with whoever asks for it, so that a taken one goes unnoticed.
        set_socket_options([this](socket_t socket) {
            m_listening = socket;
            const int on = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
            // Those who connect and send nothing stay with the kernel.
            const int seconds = 5;
            setsockopt(socket, IPPROTO_TCP, TCP_DEFER_ACCEPT, &seconds, sizeof seconds);
        });
    }

    /// More than the library's own choice, so that a crowd is refused at once instead of waiting for its turn.
    void lengthen_queue() const { ::listen(m_listening, longest_queue); }

    void serve(socket_t socket) { process_and_close_socket(socket); }

    /// Begins to answer in a crowd, too.
    void prepare() { m_sender.emplace(m_bounds.kept_places, m_bounds.write_time); }
    void finish() { m_sender.reset(); }

    std::thread listener;
    std::atomic<bool> has_ended{false};
    int port = 0;

private:
    bool process_and_close_socket(socket_t socket) override
    {
        bool good = false;
        if (whose_turn == turn::look) {
            was_answered = answer_in_a_crowd(socket);
            return true;
        }
        if (whose_turn == turn::refuse) {
            static const std::string busy = head_of(503, "text/plain; charset=utf-8", 0, "Retry-After: 5\r\n");
            good = ::send(socket, busy.data(), busy.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0;
        } else {
            bounded_stream stream(socket, m_bounds);
            bool closed = false;
            current = &stream;
            good = process_request(stream, true, closed, [&stream](httplib::Request& request) {
                // Packing holds events back.
                request.headers.erase("Accept-Encoding");
                stream.begin_writing();
            });
        }
        close_behind_the_answer(socket);
        return good;
    }

    /// Answers who asks whether the process lives and what its metrics are, however many others keep the workers busy.
    /// By the first words alone, so that nobody is waited for.
    [[nodiscard]] bool answer_in_a_crowd(socket_t socket)
    {
        std::array<char, 32> begin{};
        const ssize_t size = ::recv(socket, begin.data(), begin.size(), MSG_PEEK | MSG_DONTWAIT);
        const std::string_view request(begin.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        const bool is_head = request.rfind("HEAD ", 0) == 0;
        for (const char* const path : {"/healthz", "/readyz", "/metrics"}) {
            if (request.rfind(std::string(is_head ? "HEAD " : "GET ") + path + ' ', 0) != 0)
                continue;
            const auto make = [this, path, is_head] { return whole_answer(m_respond(path), !is_head); };
            m_sender->take(socket, make);
            return true;
        }
        return false;
    }

    void answer(const httplib::Request& request, httplib::Response& response)
    {
        harden(response);
        if (request.method != "GET" && request.method != "HEAD") {
            response.set_header("Allow", "GET, HEAD");
            return text_answer(response, 405, "405\n");
        }
        const auto given = m_respond(request.path);
        response.status = given.status;
        if (given.live && request.method == "GET")
            return send_live(given, response);
        response.set_content(given.body ? *given.body : std::string(), given.content_type.c_str());
    }

    void send_live(const http_answer& given, httplib::Response& response)
    {
        if (m_live.fetch_add(1) >= m_bounds.live_connections) {
            --m_live;
            response.set_header("Retry-After", "5");
            return text_answer(response, 503, "503\n");
        }
        auto& stream = *current;
        const auto send_next = [next = given.live, &stream](std::size_t, httplib::DataSink& sink) {
            const auto text = next();
            stream.begin_writing();
            return text && sink.write(text->data(), text->size());
        };
        response.set_chunked_content_provider("text/event-stream", send_next, [this](bool) { --m_live; });
    }

    /// The connection that the thread serves.
    static thread_local bounded_stream* current;

    static constexpr int longest_queue = 1024;

    responder m_respond;
    limits m_bounds;
    socket_t m_listening = -1;
    std::atomic<std::size_t> m_live{0};
    std::optional<answer_sender> m_sender; ///< while it listens
};

thread_local bounded_stream* http_server::server::current = nullptr;

http_server::http_server(responder respond, const limits& bounds)
    : m_server(std::make_unique<server>(std::move(respond), bounds))
{}

http_server::~http_server() { stop(); }

std::optional<http_address> parse_http_address(const std::string& text)
{
    http_address address;
    const auto colon = text.rfind(':');
    if (colon != std::string::npos)
        address.host = text.substr(0, colon);
    if (address.host.size() > 2 && address.host.front() == '[' && address.host.back() == ']')
        address.host = address.host.substr(1, address.host.size() - 2);
    else if (address.host.find_first_of(":[]") != std::string::npos)
        return std::nullopt;
    const auto port = colon == std::string::npos ? text : text.substr(colon + 1);
    if (address.host.empty() || !tools::parse_number(port, address.port))
        return std::nullopt;
    return address;
}

bool http_server::start(const http_address& address)
{
    errno = 0;
    m_server->port = address.port;
    if (address.port == 0)
        m_server->port = m_server->bind_to_any_port(address.host);
    else if (!m_server->bind_to_port(address.host, address.port))
        m_server->port = -1;
    if (m_server->port < 0) {
        m_error = "cannot listen on " + address.host + ":" + std::to_string(address.port) + ": " +
                  (errno != 0 ? std::strerror(errno) : "not an address of this host");
        return false;
    }
    m_server->lengthen_queue();
    try {
        m_server->prepare();
        m_server->listener = std::thread([this] {
            m_server->listen_after_bind();
            m_server->has_ended = true;
        });
    } catch (const std::system_error& no_thread) {
        m_server->finish();
        m_error = std::string("cannot serve: ") + no_thread.what();
        return false;
    }
    return true;
}

void http_server::stop()
{
    if (!m_server->listener.joinable())
        return;
    while (!m_server->is_running() && !m_server->has_ended)
        std::this_thread::yield();
    m_server->httplib::Server::stop();
    m_server->listener.join();
    m_server->finish();
}

void http_server::serve(int socket) { m_server->serve(socket); }

std::uint16_t http_server::port() const { return static_cast<std::uint16_t>(m_server->port); }
} // namespace monitor
