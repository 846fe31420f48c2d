// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace ZQSDK
{
template <class Pointer>
class ZQBSWriterT;

/// Writes bits, most significant first, into a range of bytes that it does not own. It never stores outside the
/// range: what does not fit is dropped and reported. Bytes arrive in the range by whole cache words, when the range
/// becomes full, on flush() and on destruction.
template <class Byte>
class ZQBSWriterT<Byte*>
{
public:
    ZQBSWriterT(Byte* data, unsigned long size) : m_next(data), m_bytes_left(size) { restart(); }
    virtual ~ZQBSWriterT() { flush(); }
    ZQBSWriterT(const ZQBSWriterT&) = delete;
    ZQBSWriterT& operator=(const ZQBSWriterT&) = delete;

    /// Appends the low `n` bits of `value`; above 64 counts as 64. The value is not masked: excess high bits spill into
    /// the bits written before, so it must fit `n` bits. False when the range is full on entry or on the way.
    template <class T>
    bool putBits(T value, unsigned char n)
    {
        return append(bits(value), n < 64 ? n : 64U);
    }

    /// The same with the width fixed at compile time.
    template <unsigned N, class T>
    bool putBits(T value)
    {
        return append(bits(value), std::min(N, 64U));
    }

    /// One step of putBits: places as many of the `n` pending low bits of `value` as the cache and the range take,
    /// lowers `n` by them and stores a full cache. False when the range was full, so that nothing was placed.
    template <class T>
    bool putBitsToCach(unsigned long& n, T value)
    {
        n = std::min(n, 64UL);
        if (m_bytes_left == 0)
            return false;
        auto pending = static_cast<unsigned>(n);
        place(bits(value), pending);
        n = pending;
        return true;
    }

    /// Stores what the cache holds, a partly filled last byte with zero bits below; the next bit opens a new byte.
    void flush()
    {
        const std::uint64_t held = (64 - m_bits_free + 7) / 8;
        // Locals, as a byte that is stored could be a byte of this object for all the compiler knows.
        const std::uint64_t word = m_cache;
        Byte* const to = m_next;
        for (std::uint64_t at = 0; at < held; ++at)
            to[at] = static_cast<Byte>(word >> (56 - 8 * at));
        advance(held);
    }

    /// Bits that the cache holds and the range does not have yet, 0 to 63.
    std::uint64_t bitsHeld() const { return 64 - m_bits_free; }
    /// Room in the range, in bytes; bits held in the cache are not subtracted.
    std::uint64_t bytesLeft() const { return m_bytes_left; }
    /// Bytes stored in the range so far; complete after flush().
    std::uint64_t bytesWritten() const { return m_bytes_written; }

private:
    template <class T>
    static std::uint64_t bits(T value)
    {
        if constexpr (std::is_enum_v<T>)
            return bits(static_cast<std::underlying_type_t<T>>(value));
        else if constexpr (std::is_same_v<T, bool>)
            return value ? 1 : 0;
        else
            return static_cast<std::make_unsigned_t<T>>(value);
    }

    bool append(std::uint64_t value, unsigned n)
    {
        if (n + m_bits_barred < m_bits_free && n != 0) {
            m_bits_free -= n;
            m_cache |= value << m_bits_free;
            return true;
        }
        return appendAcross(value, n);
    }

    [[gnu::noinline]] bool appendAcross(std::uint64_t value, unsigned n)
    {
        if (m_bytes_left == 0)
            return false;
        while (n != 0 && m_bytes_left != 0)
            place(value, n);
        return n == 0;
    }

    /// m_bytes_left > 0, so there is room for at least one bit.
    void place(std::uint64_t value, unsigned& n)
    {
        const std::uint64_t room = m_bits_free - m_bits_barred;
        const std::uint64_t placed = std::min<std::uint64_t>(n, room);
        if (placed == 0)
            return;
        n -= static_cast<unsigned>(placed);
        m_bits_free -= placed;
        m_cache |= (value >> n) << m_bits_free;
        if (placed == room)
            store();
    }

    void store()
    {
        if (m_bits_free != 0) {
            flush();
            return;
        }
        // Compilers turn this into one store of the swapped word.
        const std::uint64_t word = m_cache;
        Byte* const to = m_next;
        to[0] = static_cast<Byte>(word >> 56);
        to[1] = static_cast<Byte>(word >> 48);
        to[2] = static_cast<Byte>(word >> 40);
        to[3] = static_cast<Byte>(word >> 32);
        to[4] = static_cast<Byte>(word >> 24);
        to[5] = static_cast<Byte>(word >> 16);
        to[6] = static_cast<Byte>(word >> 8);
        to[7] = static_cast<Byte>(word);
        advance(8);
    }

    void advance(std::uint64_t stored)
    {
        m_next += stored;
        m_bytes_left -= stored;
        m_bytes_written += stored;
        restart();
    }

    void restart()
    {
        m_cache = 0;
        m_bits_free = 64;
        m_bits_barred = m_bytes_left < 8 ? 64 - 8 * m_bytes_left : 0;
    }

    std::uint64_t m_cache = 0;       // written bits on the left
    std::uint64_t m_bits_free = 64;  // free bits on the right of the cache
    std::uint64_t m_bits_barred = 0; // of these, the ones that the rest of the range has no room for
    Byte* m_next;                    // where the cache is stored next
    std::uint64_t m_bytes_left;      // from m_next to the end of the range
    std::uint64_t m_bytes_written = 0;
};
} // namespace ZQSDK
