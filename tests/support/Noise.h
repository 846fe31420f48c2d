// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <random>
#include <vector>

namespace zqtest
{
/// What bad reception does to a recording.
class Noise
{
public:
    explicit Noise(unsigned seed) : m_random(seed) {}

    void flip_bits(std::vector<unsigned char>& recording, unsigned count)
    {
        for (; count != 0; --count)
            recording[below(recording.size())] ^= static_cast<unsigned char>(1U << below(8));
    }

    /// A piece of up to 2000 bytes is missing.
    void cut(std::vector<unsigned char>& recording)
    {
        const std::size_t size = 1 + below(2000);
        if (size >= recording.size())
            return;
        const auto from = recording.begin() + static_cast<std::ptrdiff_t>(below(recording.size() - size));
        recording.erase(from, from + static_cast<std::ptrdiff_t>(size));
    }

    /// 20 bits flipped or a piece cut.
    void damage(std::vector<unsigned char>& recording)
    {
        if (below(2) == 0)
            flip_bits(recording, 20);
        else
            cut(recording);
    }

    std::size_t below(std::size_t limit) { return m_random() % limit; }

private:
    std::mt19937_64 m_random;
};
} // namespace zqtest
