// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/ts_file.h"

#include "mpegcore/TransportPacket.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace t2mi
{
namespace
{
constexpr std::size_t packets_a_block = 1024;
} // namespace

bool ts_file_reader::open(const std::string& name)
{
    m_name = name;
    std::error_code error;
    if (name != "-" && std::filesystem::is_directory(name, error)) {
        fail("is a directory");
        return false;
    }
    m_file.reset(name == "-" ? stdin : std::fopen(name.c_str(), "rb"));
    if (m_file == nullptr) {
        fail(std::strerror(errno));
        return false;
    }
    if (name != "-" && std::filesystem::is_regular_file(name, error))
        m_size = std::filesystem::file_size(name, error);
    m_block.resize(packets_a_block * mpegcore::ts_packet_size);
    return true;
}

ts_file_reader::result ts_file_reader::next()
{
    if (m_at < m_end)
        m_at += mpegcore::ts_packet_size;
    if (m_at == m_end) {
        m_at = 0;
        m_end = std::fread(m_block.data(), 1, m_block.size(), m_file.get());
        m_bytes_read += m_end;
        if (std::ferror(m_file.get()) != 0)
            return fail(std::strerror(errno));
    }
    if (m_end - m_at < mpegcore::ts_packet_size)
        return result::end;
    if (*packet() != mpegcore::ts_sync_byte)
        return fail("no sync byte at byte " + std::to_string(m_bytes_read - m_end + m_at));
    return result::packet;
}

ts_file_reader::result ts_file_reader::fail(const std::string& reason)
{
    m_fault = m_name + ": " + reason;
    return result::failed;
}

file_handle open_for_writing(const std::string& name)
{
    return file_handle(name == "-" ? stdout : std::fopen(name.c_str(), "wb"));
}
} // namespace t2mi
