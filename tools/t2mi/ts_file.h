// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace t2mi
{
struct file_closer
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using file_handle = std::unique_ptr<std::FILE, file_closer>;

/// Reads a file of 188-byte transport packets one after the other, a block at a time.
class ts_file_reader
{
public:
    enum class result
    {
        packet,
        end,
        failed
    };

    /// "-" is standard input. False, with the reason in fault(), when the file cannot be opened.
    [[nodiscard]] bool open(const std::string& name);
    /// The next packet, in packet() until the next call. `failed`, with the reason in fault(), for a read error and
    /// for a packet without its sync byte. Not to be called again after the end.
    [[nodiscard]] result next();

    unsigned char* packet() { return m_block.data() + m_at; }
    const std::string& fault() const { return m_fault; }
    std::uint64_t bytes_read() const { return m_bytes_read; }
    /// Bytes at the end that were no whole packet, 0 to 187; known at the end.
    std::size_t bytes_left_out() const { return m_end - m_at; }
    /// Bytes of a regular file; 0 when the length is not known.
    std::uint64_t size() const { return m_size; }

private:
    result fail(const std::string& reason);

    file_handle m_file;
    std::string m_name;
    std::string m_fault;
    std::vector<unsigned char> m_block;
    std::size_t m_at = 0;
    std::size_t m_end = 0;
    std::uint64_t m_bytes_read = 0;
    std::uint64_t m_size = 0;
};

/// "-" is standard output. Null, with errno set, when the file cannot be opened.
[[nodiscard]] file_handle open_for_writing(const std::string& name);
} // namespace t2mi
