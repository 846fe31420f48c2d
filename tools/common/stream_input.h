// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zq_net/transport_input.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tools
{
/// The bytes of a transport stream from a file, from standard input ("-") or from UDP datagrams, with or without RTP
/// ("udp://[SOURCE@]GROUP:PORT").
class stream_input
{
public:
    enum class result
    {
        bytes,
        nothing, ///< came in the last fifth of a second, or a signal did
        end,
        failed
    };

    stream_input() = default;
    ~stream_input();
    stream_input(const stream_input&) = delete;
    stream_input& operator=(const stream_input&) = delete;

    /// `interface`, a name or an address of one, is for UDP. False, with the reason in fault(), when the input cannot
    /// be opened.
    [[nodiscard]] bool open(const std::string& name, const std::string& interface = {});
    /// Fills data() and size(), which hold until the next call. `failed` has its reason in fault().
    [[nodiscard]] result next();

    [[nodiscard]] const unsigned char* data() const { return m_data; }
    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] const std::string& fault() const { return m_fault; }
    /// Whether bytes come in their own time rather than as fast as they are read.
    [[nodiscard]] bool is_live() const { return m_is_live; }
    /// Bytes of a regular file; 0 when that is not known.
    [[nodiscard]] std::uint64_t total() const { return m_total; }

private:
    [[nodiscard]] bool open_udp(const std::string& name, const std::string& interface);
    [[nodiscard]] bool open_file(const std::string& name);
    [[nodiscard]] result next_datagrams();
    [[nodiscard]] bool wait_for_bytes(result& instead);
    bool fail(const std::string& reason);

    std::string m_name;
    std::string m_fault;
    int m_descriptor = -1; ///< of the file
    bool m_is_udp = false;
    zq_net::transport_input m_datagrams;
    std::size_t m_next_piece = 0; ///< of those
    bool m_is_live = false;
    std::uint64_t m_total = 0;
    std::vector<unsigned char> m_block;
    const unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};
} // namespace tools
