// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zq_net
{
/// Bytes of a stream, borrowed, and when they came.
struct piece
{
    const unsigned char* data = nullptr;
    std::size_t size = 0;
    std::uint64_t arrival = 0; ///< nanoseconds of the system's real-time clock
    bool gap = false;          ///< something is missing in front of it
    bool anew = false;         ///< another sender begins with it
};

/// Pieces in stream order. Neighbours in memory become one piece, so that a batch of datagrams which were received
/// side by side is handed on without a copy.
class piece_list
{
public:
    /// `longest_span`, in nanoseconds: a piece that came so much later than the one before it stays apart, because
    /// its time must be told. 0: every piece stays apart.
    explicit piece_list(std::uint64_t longest_span = 10'000'000) : m_longest_span{longest_span} {}

    /// Borrows the bytes until clear().
    void add(const piece& added)
    {
        if (added.size == 0)
            return;
        if (!m_pieces.empty()) {
            piece& last = m_pieces.back();
            const bool adjoins = m_longest_span > 0 && last.data + last.size == added.data;
            if (adjoins && !added.gap && added.arrival < last.arrival + m_longest_span) {
                last.size += added.size;
                return;
            }
        }
        m_pieces.push_back(added);
    }

    /// Keeps a copy of the bytes until clear().
    void add_copy(const piece& added)
    {
        auto& copy = m_copies.emplace_back(added.data, added.data + added.size);
        add({copy.data(), copy.size(), added.arrival, added.gap, added.anew});
    }

    /// Keeps `bytes` until clear().
    void add_owned(std::vector<unsigned char>&& bytes, std::uint64_t arrival, bool gap)
    {
        const auto& kept = m_copies.emplace_back(std::move(bytes));
        add({kept.data(), kept.size(), arrival, gap});
    }

    void clear()
    {
        m_pieces.clear();
        m_copies.clear();
    }
    bool empty() const { return m_pieces.empty(); }
    std::size_t size() const { return m_pieces.size(); }
    const piece& operator[](std::size_t index) const { return m_pieces[index]; }
    auto begin() const { return m_pieces.begin(); }
    auto end() const { return m_pieces.end(); }

private:
    std::uint64_t m_longest_span;
    std::vector<piece> m_pieces;
    std::vector<std::vector<unsigned char>> m_copies; // their bytes stay where they are
};
} // namespace zq_net
