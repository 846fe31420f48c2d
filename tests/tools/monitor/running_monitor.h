// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "http_client.h"
#include "support/child_process.h"
#include "support/watchdog.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace monitor_runs
{
/// Where a program serves the page, once it says so; 0: it does not.
inline std::uint16_t port_told_by(const support::child_process& program)
{
    const std::string before = "http://127.0.0.1:";
    std::uint16_t number = 0;
    const auto said = [&] {
        const auto text = program.errors();
        const auto at = text.find(before);
        if (at != std::string::npos && text.find('/', at + before.size()) != std::string::npos)
            number = static_cast<std::uint16_t>(std::stoul(text.substr(at + before.size())));
        return number != 0;
    };
    (void)support::eventually([&] { return said() || !program.is_alive(); });
    return number;
}

/// The program as it is installed, running in the folder of the test.
class running : public support::child_process
{
public:
    /// `name` is for its output, where there are several.
    running(const std::filesystem::path& folder, std::vector<std::string> arguments,
            const std::string& name = "monitor")
        : child_process(folder, name, with_program(std::move(arguments)))
    {}

    void read_again() const { signal(SIGHUP); }

    [[nodiscard]] std::uint16_t port() const { return port_told_by(*this); }

private:
    static std::vector<std::string> with_program(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), ZQ_MONITOR_TOOL);
        return arguments;
    }
};

inline std::string on_port(std::uint16_t port) { return "udp://127.0.0.1:" + std::to_string(port); }

/// A stream in a file of them.
inline std::string entry(const std::string& name, std::uint16_t port)
{
    return "[[stream]]\nname = \"" + name + "\"\naddress = \"" + on_port(port) + "\"\n";
}

inline bool is_ready(std::uint16_t page)
{
    return monitor_http::ask(page, "/readyz").find("200 OK") != std::string::npos;
}

inline nlohmann::json streams_at(std::uint16_t page)
{
    const auto body = monitor_http::body_of(monitor_http::ask(page, "/api/streams"));
    const auto parsed = nlohmann::json::parse(body, nullptr, false);
    return parsed.is_object() ? parsed["streams"] : nlohmann::json::array();
}
} // namespace monitor_runs
