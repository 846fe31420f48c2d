// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/child_process.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace monitor_outside
{
/// Chromium without a window, driven over a pipe by the DevTools protocol. What it does not answer in time throws.
class browser
{
public:
    explicit browser(const std::filesystem::path& folder);
    ~browser();
    browser(const browser&) = delete;
    browser& operator=(const browser&) = delete;

    /// Loads a page into a view of so many pixels.
    void open(const std::string& address, unsigned width, unsigned height, bool is_telephone = false);
    /// The value of an expression in JavaScript.
    [[nodiscard]] nlohmann::json value(const std::string& expression);
    /// Waits until the expression is true. False, with a line of what was there, when it never is.
    [[nodiscard]] bool shows(const std::string& expression);
    /// A click of the mouse into the middle of an element, which is in view.
    void click(const std::string& element);
    /// What it shows, as a PNG.
    [[nodiscard]] std::string picture();
    /// Errors and warnings of its console since it began, exceptions and what a policy forbade among them.
    [[nodiscard]] const std::vector<std::string>& complaints() const { return m_complaints; }

private:
    void attach();
    nlohmann::json command(const std::string& method, const nlohmann::json& parameters = nlohmann::json::object());
    [[nodiscard]] nlohmann::json next_message(std::chrono::steady_clock::time_point until);
    void note(const nlohmann::json& message);

    std::array<int, 2> m_commands{}; ///< a pipe
    std::array<int, 2> m_answers{};  ///< a pipe
    std::unique_ptr<support::child_process> m_program;
    std::string m_received;
    std::string m_session;
    unsigned m_last_id = 0;
    std::string m_asked; ///< the last method
    std::vector<std::string> m_complaints;
};
} // namespace monitor_outside
