// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <iconv.h>

namespace zqtest
{
using Bytes = std::vector<unsigned char>;

/// The bytes of a literal, which may hold zeros.
template <std::size_t Size>
Bytes bytes_of(const char (&literal)[Size])
{
    return {literal, literal + Size - 1};
}

/// Whether iconv has what the texts of East Asia and is_utf8 need; on the machine that compiles it is expected to.
inline bool iconv_is_complete()
{
    if (!ZQ_FOREIGN)
        return true;
    for (const char* const name : {"EUC-KR", "GB2312", "BIG5", "UTF-32BE"}) {
        const iconv_t handle = iconv_open("UTF-8", name);
        if (handle == reinterpret_cast<iconv_t>(-1))
            return false;
        iconv_close(handle);
    }
    return true;
}

/// Whether all of `text` is UTF-8, by iconv's judgement and not by the code under test.
inline bool is_utf8(std::string_view text)
{
    const iconv_t handle = iconv_open("UTF-32BE", "UTF-8");
    std::string in(text);
    std::string out(4 * in.size() + 4, '\0');
    char* from = in.data();
    char* to = out.data();
    std::size_t left = in.size();
    std::size_t room = out.size();
    const bool valid = iconv(handle, &from, &left, &to, &room) == 0 && left == 0;
    iconv_close(handle);
    return valid;
}

/// What iconv makes of `bytes`; empty when it refuses them or does not know the set.
inline std::string by_iconv(const char* set, Bytes bytes)
{
    const iconv_t handle = iconv_open("UTF-8", set);
    if (handle == reinterpret_cast<iconv_t>(-1))
        return {};
    std::array<char, 64> out{};
    char* from = reinterpret_cast<char*>(bytes.data());
    char* to = out.data();
    std::size_t left = bytes.size();
    std::size_t room = out.size();
    const bool converted = iconv(handle, &from, &left, &to, &room) == 0 && left == 0;
    // A stateful set keeps its last character until it is asked for it.
    iconv(handle, nullptr, nullptr, &to, &room);
    iconv_close(handle);
    return converted ? std::string(out.data(), out.size() - room) : std::string();
}
} // namespace zqtest
