// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/CRC.h"
#include "mpegcore/crc/CRC32Kernel.h"

#if defined(__x86_64__)
// GCC 12 warns of the undefined registers that its own AVX-512 header starts from.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#endif

// The message is a polynomial whose first bit has the highest power. A 128-bit block a = h x^64 + l that stands d bits
// before another one is worth h (x^(d+64) mod p) + l (x^d mod p) there: two carry-less products of less than 128 bits.

namespace mpegcore::detail
{
namespace
{
bool always() { return true; }
} // namespace

const std::array<CRC32Kernel, 3> crc32_kernels{{{"wide carry-less multiply", crc32_wide_clmul, has_wide_clmul},
                                                {"carry-less multiply", crc32_clmul, has_clmul},
                                                {"sliced", crc32_sliced, always}}};

#if defined(__x86_64__)
namespace
{
constexpr std::uint64_t polynomial = std::uint64_t{1} << 32 | crc32_polynomial;

constexpr std::uint64_t power(unsigned exponent)
{
    std::uint64_t rest = 1;
    for (; exponent != 0; --exponent) {
        rest <<= 1;
        if ((rest >> 32) != 0)
            rest ^= polynomial;
    }
    return rest;
}

/// The quotient x^64 / p.
constexpr std::uint64_t inverse()
{
    // x^64 - x^32 p has degree below 64, so the division can go on in 64 bits.
    std::uint64_t quotient = std::uint64_t{1} << 32;
    std::uint64_t rest = std::uint64_t{crc32_polynomial} << 32;
    for (unsigned bit = 32; bit-- > 0;) {
        if ((rest >> (bit + 32) & 1U) == 0)
            continue;
        quotient |= std::uint64_t{1} << bit;
        rest ^= polynomial << bit;
    }
    return quotient;
}

struct fold_constants
{
    std::uint64_t low, high;
};

template <unsigned Bits>
constexpr fold_constants fold_by{power(Bits), power(Bits + 64)};

/// Index masks that move a block by 0 to 16 bytes, zeros following: right from entry 16 on, left before it.
constexpr std::array<unsigned char, 48> byte_shifts = [] {
    std::array<unsigned char, 48> masks{};
    for (std::size_t at = 0; at < masks.size(); ++at)
        masks[at] = static_cast<unsigned char>(at >= 16 && at < 32 ? at - 16 : 0x80);
    return masks;
}();

[[gnu::target("ssse3")]] inline __m128i unaligned(const unsigned char* data)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
}

[[gnu::target("ssse3")]] inline __m128i byte_order()
{
    return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

/// 16 bytes, the first one becoming the most significant.
[[gnu::target("ssse3")]] inline __m128i block(const unsigned char* data)
{
    return _mm_shuffle_epi8(unaligned(data), byte_order());
}

template <unsigned Bits>
[[gnu::target("ssse3,pclmul")]] inline __m128i fold(__m128i value)
{
    constexpr auto by = fold_by<Bits>;
    const __m128i factors = _mm_set_epi64x(static_cast<long long>(by.high), static_cast<long long>(by.low));
    return _mm_xor_si128(_mm_clmulepi64_si128(value, factors, 0x11), _mm_clmulepi64_si128(value, factors, 0x00));
}

/// The block behind the first size % 16 bytes, with them and the register folded in. size >= 16.
[[gnu::target("ssse3,pclmul")]] inline __m128i head(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    const std::size_t odd = size % 16;
    const __m128i reg = _mm_set_epi32(static_cast<int>(crc), 0, 0, 0);
    const __m128i before =
        _mm_shuffle_epi8(_mm_xor_si128(block(data), reg), unaligned(byte_shifts.data() + 16 + (16 - odd)));
    // Of a register over fewer than four odd bytes, the rest stands in the next block.
    const __m128i reg_rest = _mm_shuffle_epi8(reg, unaligned(byte_shifts.data() + 16 - odd));
    return _mm_xor_si128(fold<128>(before), _mm_xor_si128(block(data + odd), reg_rest));
}

/// The remainder of value x^32.
[[gnu::target("ssse3,pclmul")]] inline std::uint32_t remainder(__m128i value)
{
    const __m128i by_96 = _mm_set_epi64x(static_cast<long long>(power(96)), static_cast<long long>(power(64)));
    const __m128i barrett = _mm_set_epi64x(static_cast<long long>(inverse()), static_cast<long long>(polynomial));
    // 128 bits to 96, to 64, and those by the quotient.
    const __m128i low = _mm_slli_si128(_mm_move_epi64(value), 4);
    value = _mm_xor_si128(_mm_clmulepi64_si128(value, by_96, 0x11), low);
    value = _mm_xor_si128(_mm_clmulepi64_si128(value, by_96, 0x01), value);
    const __m128i top = _mm_srli_epi64(value, 32);
    const __m128i quotient = _mm_srli_si128(_mm_clmulepi64_si128(top, barrett, 0x10), 4);
    return static_cast<std::uint32_t>(
        _mm_cvtsi128_si32(_mm_xor_si128(_mm_clmulepi64_si128(quotient, barrett, 0x00), value)));
}

/// Four blocks in a row as one.
[[gnu::target("ssse3,pclmul")]] inline __m128i joined(__m128i a, __m128i b, __m128i c, __m128i d)
{
    return _mm_xor_si128(_mm_xor_si128(fold<384>(a), fold<256>(b)), _mm_xor_si128(fold<128>(c), d));
}

[[gnu::target("ssse3,pclmul")]] inline std::uint32_t tail(__m128i value, const unsigned char* data,
                                                          const unsigned char* end)
{
    for (; data != end; data += 16)
        value = _mm_xor_si128(fold<128>(value), block(data));
    return remainder(value);
}

template <unsigned Bits>
[[gnu::target("avx512f,avx512bw,vpclmulqdq")]] inline __m512i wide_fold(__m512i value)
{
    constexpr auto by = fold_by<Bits>;
    const __m512i factors =
        _mm512_broadcast_i32x4(_mm_set_epi64x(static_cast<long long>(by.high), static_cast<long long>(by.low)));
    return _mm512_xor_si512(_mm512_clmulepi64_epi128(value, factors, 0x11),
                            _mm512_clmulepi64_epi128(value, factors, 0x00));
}

[[gnu::target("avx512f,avx512bw,vpclmulqdq")]] inline __m512i wide_block(const unsigned char* data)
{
    return _mm512_shuffle_epi8(_mm512_loadu_si512(data), _mm512_broadcast_i32x4(byte_order()));
}
} // namespace

[[gnu::target("ssse3,pclmul")]] std::uint32_t crc32_clmul(const unsigned char* data, std::size_t size,
                                                          std::uint32_t crc)
{
    if (size < 16)
        return crc32_sliced(data, size, crc);
    const unsigned char* const end = data + size;
    __m128i a = head(data, size, crc);
    data += size % 16 + 16;
    if (end - data < 48 + 64)
        return tail(a, data, end);

    __m128i b = block(data), c = block(data + 16), d = block(data + 32);
    for (data += 48; end - data >= 64; data += 64) {
        a = _mm_xor_si128(fold<512>(a), block(data));
        b = _mm_xor_si128(fold<512>(b), block(data + 16));
        c = _mm_xor_si128(fold<512>(c), block(data + 32));
        d = _mm_xor_si128(fold<512>(d), block(data + 48));
    }
    return tail(joined(a, b, c, d), data, end);
}

[[gnu::target("avx512f,avx512bw,vpclmulqdq,pclmul")]] std::uint32_t
crc32_wide_clmul(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    constexpr std::size_t worth_the_joining = 512;
    if (size < worth_the_joining)
        return crc32_clmul(data, size, crc);
    const unsigned char* const end = data + size;
    const __m128i first = head(data, size, crc);
    data += size % 16;
    __m512i a = _mm512_inserti32x4(wide_block(data), first, 0);
    __m512i b = wide_block(data + 64), c = wide_block(data + 128), d = wide_block(data + 192);
    for (data += 256; end - data >= 256; data += 256) {
        a = _mm512_xor_si512(wide_fold<2048>(a), wide_block(data));
        b = _mm512_xor_si512(wide_fold<2048>(b), wide_block(data + 64));
        c = _mm512_xor_si512(wide_fold<2048>(c), wide_block(data + 128));
        d = _mm512_xor_si512(wide_fold<2048>(d), wide_block(data + 192));
    }
    a = _mm512_xor_si512(_mm512_xor_si512(wide_fold<1536>(a), wide_fold<1024>(b)),
                         _mm512_xor_si512(wide_fold<512>(c), d));
    for (; end - data >= 64; data += 64)
        a = _mm512_xor_si512(wide_fold<512>(a), wide_block(data));
    return tail(joined(_mm512_castsi512_si128(a), _mm512_extracti32x4_epi32(a, 1), _mm512_extracti32x4_epi32(a, 2),
                       _mm512_extracti32x4_epi32(a, 3)),
                data, end);
}

bool has_clmul()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("pclmul");
}

bool has_wide_clmul()
{
    return has_clmul() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("vpclmulqdq");
}
#else
std::uint32_t crc32_clmul(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    return crc32_sliced(data, size, crc);
}
std::uint32_t crc32_wide_clmul(const unsigned char* data, std::size_t size, std::uint32_t crc)
{
    return crc32_sliced(data, size, crc);
}
bool has_clmul() { return false; }
bool has_wide_clmul() { return false; }
#endif
} // namespace mpegcore::detail
