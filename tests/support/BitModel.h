// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstdint>
#include <optional>
#include <vector>

namespace zqtest
{
/// The bits of some bytes, most significant first.
inline std::vector<bool> bits_of(const unsigned char* data, std::size_t size)
{
    std::vector<bool> bits;
    bits.reserve(8 * size);
    for (std::size_t at = 0; at < 8 * size; ++at)
        bits.push_back((data[at / 8] >> (7 - at % 8) & 1U) != 0);
    return bits;
}

/// A bit reader without a cache, one bit at a time.
class BitReaderModel
{
public:
    BitReaderModel(const unsigned char* data, std::size_t size) : bits_(bits_of(data, size)) {}

    /// What a field of `n` bits leaves in its variable; nothing when exhausted. `whole` tells a partial read.
    std::optional<std::uint64_t> get(unsigned n, bool& whole)
    {
        whole = false;
        if (at_ == bits_.size())
            return std::nullopt;
        std::uint64_t value = 0;
        whole = n <= bits_.size() - at_;
        for (unsigned bit = 0; bit < n; ++bit)
            value = value << 1 | static_cast<std::uint64_t>(at_ < bits_.size() && bits_[at_++]);
        return value;
    }

    bool skip(std::uint64_t bytes)
    {
        if (bytes > available())
            return false;
        if (bytes != 0)
            at_ = (at_ / 8 + bytes) * 8;
        return true;
    }

    std::uint64_t available() const { return bits_.size() / 8 - at_ / 8; }
    std::uint64_t position() const { return at_ / 8; }

private:
    std::vector<bool> bits_;
    std::size_t at_ = 0;
};

/// A bit writer without a cache: what does not fit is dropped. Values must fit their fields.
class BitWriterModel
{
public:
    explicit BitWriterModel(std::size_t size) : room_(8 * size) {}

    bool put(std::uint64_t value, unsigned n)
    {
        if (bits_.size() == room_)
            return false;
        for (unsigned bit = n; bit-- > 0;) {
            if (bits_.size() == room_)
                return false;
            bits_.push_back((value >> bit & 1U) != 0);
        }
        return true;
    }

    void flush() { bits_.resize((bits_.size() + 7) / 8 * 8); }

    std::vector<unsigned char> bytes() const
    {
        std::vector<unsigned char> bytes((bits_.size() + 7) / 8);
        for (std::size_t at = 0; at < bits_.size(); ++at)
            bytes[at / 8] =
                static_cast<unsigned char>(bytes[at / 8] | static_cast<unsigned>(bits_[at]) << (7 - at % 8));
        return bytes;
    }

private:
    std::size_t room_;
    std::vector<bool> bits_;
};
} // namespace zqtest
