// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/DoubleByteTable.h"

#include <algorithm>

#include <iconv.h>

namespace mpegcore
{
namespace
{
class Conversion
{
public:
    explicit Conversion(const char* name) : m_handle(iconv_open("UTF-16BE", name)) {}
    ~Conversion()
    {
        if (known())
            iconv_close(m_handle);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    // iconv_open() says -1 as a pointer.
    bool known() const { return reinterpret_cast<std::intptr_t>(m_handle) != -1; }

    char16_t character(unsigned first, unsigned second)
    {
        std::array<char, 2> in{static_cast<char>(first), static_cast<char>(second)};
        std::array<unsigned char, 8> out{};
        char* from = in.data();
        char* to = reinterpret_cast<char*>(out.data());
        std::size_t left = in.size();
        std::size_t room = out.size();
        iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_handle, &from, &left, &to, &room) != 0 || left != 0 || room != out.size() - 2)
            return 0;
        return static_cast<char16_t>(out[0] << 8 | out[1]);
    }

private:
    iconv_t m_handle;
};
} // namespace

const DoubleByteTable& DoubleByteTable::ks_x_1001()
{
    static const DoubleByteTable table("EUC-KR");
    return table;
}

const DoubleByteTable& DoubleByteTable::gb_2312()
{
    static const DoubleByteTable table("GB2312");
    return table;
}

const DoubleByteTable& DoubleByteTable::big5()
{
    static const DoubleByteTable table("BIG5");
    return table;
}

DoubleByteTable::DoubleByteTable(const char* iconv_name)
{
    Conversion conversion(iconv_name);
    if (!conversion.known())
        return;
    m_characters.resize(std::size_t{first_high - first_low + 1} * row);
    for (unsigned first = first_low; first <= first_high; ++first)
        for (unsigned second = second_low; second <= second_high; ++second) {
            const char16_t character = conversion.character(first, second);
            if (character < 0xA0)
                continue;
            m_characters[(first - first_low) * row + second - second_low] = character;
            m_pairs.emplace_back(character, static_cast<std::uint16_t>(first << 8 | second));
        }
    std::sort(m_pairs.begin(), m_pairs.end());
}

char16_t DoubleByteTable::character(unsigned char first, unsigned char second) const
{
    if (m_characters.empty() || first < first_low || first > first_high || second < second_low || second > second_high)
        return 0;
    return m_characters[(first - first_low) * row + second - second_low];
}

std::uint16_t DoubleByteTable::pair_of(char32_t character) const
{
    if (character > 0xFFFF)
        return 0;
    const auto found =
        std::lower_bound(m_pairs.begin(), m_pairs.end(), std::pair{static_cast<char16_t>(character), std::uint16_t{0}});
    return found == m_pairs.end() || found->first != character ? std::uint16_t{0} : found->second;
}
} // namespace mpegcore
