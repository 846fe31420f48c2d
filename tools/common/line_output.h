// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace tools
{
/// Lines for a file descriptor, written whole: whenever the process ends, what it has written ends with a line.
/// The owner ignores SIGPIPE.
class line_output
{
public:
    /// With `at_once`, every line is written as it comes, else when 64 KiB have come together.
    line_output(int descriptor, bool at_once) : m_descriptor(descriptor), m_at_once(at_once) {}
    ~line_output() { flush(); }
    line_output(const line_output&) = delete;
    line_output& operator=(const line_output&) = delete;

    /// Adds a newline.
    void put(std::string_view line);
    void flush();

    /// False once writing failed; nothing is written from then on.
    [[nodiscard]] bool is_good() const { return m_error == 0; }
    /// Whether it failed because nobody reads any more.
    [[nodiscard]] bool is_broken_pipe() const;
    /// The errno of the failure, 0 without.
    [[nodiscard]] int error() const { return m_error; }

private:
    static constexpr std::size_t block_size = std::size_t{64} << 10;

    int m_descriptor;
    bool m_at_once;
    int m_error = 0;
    std::string m_lines;
};
} // namespace tools
