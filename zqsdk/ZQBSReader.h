// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zqsdk/ZQMask.h"

#include <algorithm>
#include <cstdint>

namespace ZQSDK
{
template <class Pointer>
class ZQBSReaderT;

/// Reads bits, most significant first, from a range of bytes that it does not own and that must outlive it.
/// A read past the end fails and leaves the reader exhausted for good. Copying copies the position.
template <class Byte>
class ZQBSReaderT<Byte*>
{
public:
    /// Starts at the first of `size` bytes. (nullptr, 0) is an exhausted reader.
    ZQBSReaderT(Byte* data, unsigned long size) : m_next(data), m_bytes_left(size)
    {
        const auto past_boundary = reinterpret_cast<std::uintptr_t>(data) % 4;
        load(past_boundary == 0 ? 8 : 4 - past_boundary);
    }
    virtual ~ZQBSReaderT() = default;
    ZQBSReaderT(const ZQBSReaderT&) = default;
    ZQBSReaderT& operator=(const ZQBSReaderT&) = default;

    /// The next `n` bits; above 64 counts as 64. 0 when they are not all there.
    std::uint64_t getBits(unsigned long n)
    {
        std::uint64_t value = 0;
        return take(limited(n), value) ? value : 0;
    }

    /// Stores the next N bits in `out` and returns true. False when exhausted on entry, `out` being left alone, or
    /// when the bits ran out: `out` then has those obtained in the high part of an N-bit value.
    template <unsigned N, class T>
    bool getBits(T& out)
    {
        return getBits(N, out);
    }

    /// The same with a width that is known at run time only.
    template <class T>
    bool getBits(unsigned long n, T& out)
    {
        if (m_bits_left == 0)
            return false;
        std::uint64_t value = 0;
        const bool whole = take(limited(n), value);
        out = static_cast<T>(value);
        return whole;
    }

    /// As getBits, consuming nothing.
    template <unsigned N, class T>
    bool lookBits(T& out) const
    {
        constexpr unsigned n = limited(N);
        if (n < m_bits_left) {
            out = static_cast<T>(field(m_bits_left - n, n));
            return true;
        }
        ZQBSReaderT ahead(*this);
        return ahead.getBits(n, out);
    }

    /// Moves `n` bytes on, a partly read byte counting as the first of them, to a byte boundary. 0 moves nothing.
    /// False, and nothing moves, when fewer than `n` bytes are available.
    bool skipBytes(unsigned long n)
    {
        if (n > availableBytes())
            return false;
        if (n == 0)
            return true;
        const std::uint64_t left = availableBytes() - n;
        m_next = position() + n;
        m_bytes_left = left;
        load(8);
        return true;
    }

    /// Calls `parse` with a reader over exactly the next `n` bytes, counted as skipBytes does, and then moves behind
    /// them, wherever `parse` stopped. False, and nothing moves, when fewer than `n` bytes are available or `parse`
    /// returns false.
    template <class Parse>
    bool readLimited(unsigned long n, Parse&& parse)
    {
        if (n > availableBytes())
            return false;
        ZQBSReaderT part(position(), n);
        return parse(part) && skipBytes(n);
    }

    /// Loads the next `n` bytes, 1 to 8 and no more than are left, in place of what the cache holds.
    void updateCache(unsigned long n)
    {
        if (n != 0 && m_bytes_left != 0)
            load(std::min(n, 8UL));
    }

    /// Unread bits in the cache, 0 to 64; 0 means exhausted.
    std::uint64_t bitsLeft() const { return m_bits_left; }
    /// Bytes behind the cache.
    std::uint64_t bytesLeft() const { return m_bytes_left; }
    /// Unread bytes, a partly read one counting whole.
    std::uint64_t availableBytes() const { return (m_bits_left + 7) / 8 + m_bytes_left; }
    /// The byte that holds the next unread bit; the end of the range when exhausted.
    Byte* position() const { return m_next - (m_bits_left + 7) / 8; }

private:
    static constexpr unsigned limited(unsigned long n) { return n < 64 ? static_cast<unsigned>(n) : 64U; }

    /// The n cached bits above position `at`. at is 64 only with n = 0, where any shift gives the right 0.
    std::uint64_t field(std::uint64_t at, std::uint64_t n) const { return (m_cache >> (at & 63U)) & mask_impl[n]; }

    bool take(unsigned n, std::uint64_t& value)
    {
        if (n < m_bits_left) {
            m_bits_left -= n;
            value = field(m_bits_left, n);
            return true;
        }
        return m_bits_left != 0 && takeAcross(n, value);
    }

    /// Takes n >= m_bits_left > 0 bits. A refill that is still too short has reached the end of the range.
    [[gnu::noinline]] bool takeAcross(unsigned n, std::uint64_t& value)
    {
        const std::uint64_t before = m_cache & mask_impl[m_bits_left];
        const std::uint64_t needed = n - m_bits_left;
        load(8);
        value = before;
        if (needed == 0)
            return true;
        if (needed > m_bits_left) {
            value = ((before << m_bits_left) | m_cache) << (needed - m_bits_left);
            m_cache = m_bits_left = 0;
            return false;
        }
        const std::uint64_t left = m_bits_left - needed;
        value = (before << needed) | field(left, needed);
        m_bits_left = left;
        if (left == 0)
            load(8);
        return true;
    }

    /// Replaces the cache by the next min(n, m_bytes_left) bytes, n <= 8; none left empties it.
    void load(std::uint64_t n)
    {
        n = std::min(n, m_bytes_left);
        m_cache = n == 8 ? wholeWord() : fewBytes(n);
        m_bits_left = 8 * n;
        m_bytes_left -= n;
        m_next += n;
    }

    // Compilers turn these into one load with a byte swap.
    std::uint64_t byte(std::uint64_t at) const { return static_cast<unsigned char>(m_next[at]); }
    std::uint64_t halfWord(std::uint64_t at) const
    {
        return byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3);
    }
    std::uint64_t wholeWord() const
    {
        return byte(0) << 56 | byte(1) << 48 | byte(2) << 40 | byte(3) << 32 | byte(4) << 24 | byte(5) << 16 |
               byte(6) << 8 | byte(7);
    }

    /// n < 8 bytes without a loop: their first and last ones, which may be the same.
    std::uint64_t fewBytes(std::uint64_t n) const
    {
        if (n >= 4)
            return halfWord(0) << 8 * (n - 4) | halfWord(n - 4);
        if (n == 0)
            return 0;
        return byte(0) << 8 * (n - 1) | byte(n / 2) << 8 * (n - 1 - n / 2) | byte(n - 1);
    }

    std::uint64_t m_cache = 0;     // unread bits on the right
    std::uint64_t m_bits_left = 0; // unread bits in the cache
    Byte* m_next;                  // first byte not loaded yet
    std::uint64_t m_bytes_left;    // from m_next to the end of the range
};
} // namespace ZQSDK
