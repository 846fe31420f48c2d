// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace zqtest
{
/// A bit reader without a cache, one bit at a time.
class BitReaderModel
{
public:
    BitReaderModel(const unsigned char* data, std::size_t size) : m_data(data), m_size(size) {}

    /// What a field of `n` bits leaves in its variable; nothing when exhausted. `whole` tells a partial read.
    std::optional<std::uint64_t> get(unsigned n, bool& whole)
    {
        whole = false;
        if (m_at == 8 * m_size)
            return std::nullopt;
        whole = n <= 8 * m_size - m_at;
        std::uint64_t value = 0;
        for (; n != 0; --n)
            value = value << 1 | (m_at < 8 * m_size ? next_bit() : 0);
        return value;
    }

    bool skip(std::uint64_t bytes)
    {
        if (bytes > available())
            return false;
        if (bytes != 0)
            m_at = (m_at / 8 + bytes) * 8;
        return true;
    }

    std::uint64_t available() const { return m_size - m_at / 8; }
    std::uint64_t position() const { return m_at / 8; }

private:
    std::uint64_t next_bit()
    {
        const auto bit = m_data[m_at / 8] >> (7 - m_at % 8) & 1;
        ++m_at;
        return static_cast<std::uint64_t>(bit);
    }

    const unsigned char* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
};

/// A bit writer without a cache: what does not fit is dropped. Values must fit their fields.
class BitWriterModel
{
public:
    explicit BitWriterModel(std::size_t size) : m_bytes(size) {}

    bool put(std::uint64_t value, unsigned n)
    {
        if (m_at == 8 * m_bytes.size())
            return false;
        while (n-- != 0) {
            if (m_at == 8 * m_bytes.size())
                return false;
            const auto bit = static_cast<unsigned>(value >> n & 1U) << (7 - m_at % 8);
            m_bytes[m_at / 8] = static_cast<unsigned char>(m_bytes[m_at / 8] | bit);
            ++m_at;
        }
        return true;
    }

    void flush() { m_at = (m_at + 7) / 8 * 8; }

    /// Begun bytes count.
    std::size_t written() const { return (m_at + 7) / 8; }
    /// The whole range; zero behind what was written.
    const std::vector<unsigned char>& bytes() const { return m_bytes; }

private:
    std::vector<unsigned char> m_bytes;
    std::size_t m_at = 0;
};
} // namespace zqtest
