// SPDX-License-Identifier: LGPL-2.1-or-later
#include "browser.h"

#include "support/watchdog.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace monitor_outside
{
using nlohmann::json;

namespace
{
constexpr std::chrono::seconds patience{60};

std::string from_base64(const std::string& text)
{
    std::string bytes;
    unsigned held = 0, bits = 0;
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (const char letter : text) {
        const auto value = letters.find(letter);
        if (value == std::string_view::npos)
            break;
        held = held << 6 | static_cast<unsigned>(value);
        if ((bits += 6) < 8)
            continue;
        bits -= 8;
        bytes += static_cast<char>(held >> bits & 0xFFU);
    }
    return bytes;
}

std::array<int, 2> pipe_of_two()
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    // Not where the program has its own, which would be closed in it.
    for (int& end : ends) {
        const int higher = ::fcntl(end, F_DUPFD_CLOEXEC, 10);
        ::close(end);
        end = higher;
    }
    return ends;
}
} // namespace

browser::browser(const std::filesystem::path& folder) : m_commands(pipe_of_two()), m_answers(pipe_of_two())
{
    // Of all addresses it is to find those of the loopback.
    const std::vector<std::string> words{"chromium-headless-shell",
                                         "--no-sandbox",
                                         "--disable-gpu",
                                         "--disable-dev-shm-usage",
                                         "--disable-background-networking",
                                         "--disable-component-update",
                                         "--disable-crashpad-for-testing",
                                         "--disable-extensions",
                                         "--hide-scrollbars",
                                         "--no-first-run",
                                         "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
                                         "--remote-debugging-pipe",
                                         "--user-data-dir=" + (folder / "profile").string(),
                                         "about:blank"};
    m_program = std::make_unique<support::child_process>(
        folder, "chromium", words, support::child_process::descriptors{{m_commands[0], 3}, {m_answers[1], 4}});
    ::close(m_commands[0]);
    ::close(m_answers[1]);
    attach();
    for (const auto* part : {"Page.enable", "Runtime.enable", "Log.enable"})
        command(part);
}

browser::~browser()
{
    ::close(m_commands[1]);
    ::close(m_answers[0]);
    // Its pipes closed, it ends by itself, with all that it began.
    (void)support::eventually([this] { return !m_program->is_alive(); }, std::chrono::seconds{10});
}

/// To a page of its own. It is asked for when the one is there that the program opens itself: before that it may never
/// come. That one is no good, as the program still loads it.
void browser::attach()
{
    const auto has_page = [&] {
        const auto told = command("Target.getTargets");
        const auto& targets = told["targetInfos"];
        return std::any_of(targets.begin(), targets.end(), [](const auto& target) { return target["type"] == "page"; });
    };
    if (!support::eventually(has_page, patience))
        throw std::runtime_error("chromium opens no page: " + m_program->errors());
    const auto page = command("Target.createTarget", {{"url", "about:blank"}})["targetId"];
    m_session = command("Target.attachToTarget", {{"targetId", page}, {"flatten", true}})["sessionId"];
}

void browser::open(const std::string& address, unsigned width, unsigned height, bool is_telephone)
{
    command("Emulation.setDeviceMetricsOverride",
            {{"width", width}, {"height", height}, {"deviceScaleFactor", 1}, {"mobile", is_telephone}});
    const auto opened = command("Page.navigate", {{"url", address}});
    if (!opened.contains("frameId") || opened.contains("errorText"))
        throw std::runtime_error(address + ": " + opened.dump());
}

json browser::value(const std::string& expression)
{
    const auto told = command("Runtime.evaluate", {{"expression", expression}, {"returnByValue", true}});
    // What is asked for may not be there yet.
    return told.contains("result") && !told.contains("exceptionDetails") ? told["result"].value("value", json())
                                                                         : json();
}

bool browser::shows(const std::string& expression)
{
    const auto holds = [&] { return value(expression) == json(true); };
    if (support::eventually(holds, patience))
        return true;
    std::fprintf(stderr, "never true: %s\n%s\n", expression.c_str(), value("document.body.innerText").dump().c_str());
    return false;
}

void browser::click(const std::string& element)
{
    const auto middle = value("(({x, y, width, height}) => [x + width / 2, y + height / 2])((" + element +
                              ").getBoundingClientRect())");
    if (!middle.is_array())
        throw std::runtime_error("nothing to click on: " + element);
    for (const auto* const type : {"mousePressed", "mouseReleased"})
        command("Input.dispatchMouseEvent",
                {{"type", type}, {"x", middle[0]}, {"y", middle[1]}, {"button", "left"}, {"clickCount", 1}});
}

std::string browser::picture()
{
    return from_base64(command("Page.captureScreenshot", {{"format", "png"}})["data"].get<std::string>());
}

json browser::command(const std::string& method, const json& parameters)
{
    json sent{{"id", ++m_last_id}, {"method", method}, {"params", parameters}};
    if (!m_session.empty())
        sent["sessionId"] = m_session;
    const std::string text = sent.dump();
    m_asked = method;
    if (::write(m_commands[1], text.c_str(), text.size() + 1) != static_cast<ssize_t>(text.size() + 1))
        throw std::runtime_error("chromium takes no commands");
    const auto until = std::chrono::steady_clock::now() + patience;
    while (true) {
        const auto message = next_message(until);
        if (message.value("id", 0U) != m_last_id) {
            note(message);
            continue;
        }
        return message.value("result", json::object());
    }
}

/// Each ends with a byte of zero.
json browser::next_message(std::chrono::steady_clock::time_point until)
{
    std::size_t end = 0;
    while ((end = m_received.find('\0')) == std::string::npos) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()).count();
        pollfd waited{m_answers[0], POLLIN, 0};
        std::array<char, 65536> part;
        const bool is_there = left > 0 && ::poll(&waited, 1, static_cast<int>(left)) > 0;
        const ssize_t got = is_there ? ::read(m_answers[0], part.data(), part.size()) : 0;
        if (got <= 0)
            throw std::runtime_error("chromium does not answer " + m_asked + ": " + m_program->errors());
        m_received.append(part.data(), static_cast<std::size_t>(got));
    }
    const auto message = json::parse(m_received.substr(0, end));
    m_received.erase(0, end + 1);
    return message;
}

void browser::note(const json& message)
{
    const auto method = message.value("method", "");
    const auto parameters = message.value("params", json::object());
    if (method == "Runtime.exceptionThrown")
        m_complaints.push_back(parameters.dump());
    if (method == "Runtime.consoleAPICalled" && (parameters["type"] == "error" || parameters["type"] == "warning"))
        m_complaints.push_back(parameters.dump());
    if (method == "Log.entryAdded" && parameters["entry"]["level"] != "verbose" &&
        parameters["entry"]["level"] != "info")
        m_complaints.push_back(parameters["entry"].dump());
}
} // namespace monitor_outside
