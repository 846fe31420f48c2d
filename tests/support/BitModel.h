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
    BitReaderModel(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}

    /// What a field of `n` bits leaves in its variable; nothing when exhausted. `whole` tells a partial read.
    std::optional<std::uint64_t> get(unsigned n, bool& whole)
    {
        whole = false;
        if (at_ == 8 * size_)
            return std::nullopt;
        whole = n <= 8 * size_ - at_;
        std::uint64_t value = 0;
        for (; n != 0; --n)
            value = value << 1 | (at_ < 8 * size_ ? next_bit() : 0);
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

    std::uint64_t available() const { return size_ - at_ / 8; }
    std::uint64_t position() const { return at_ / 8; }

private:
    std::uint64_t next_bit()
    {
        const auto bit = data_[at_ / 8] >> (7 - at_ % 8) & 1;
        ++at_;
        return static_cast<std::uint64_t>(bit);
    }

    const unsigned char* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

/// A bit writer without a cache: what does not fit is dropped. Values must fit their fields.
class BitWriterModel
{
public:
    explicit BitWriterModel(std::size_t size) : bytes_(size) {}

    bool put(std::uint64_t value, unsigned n)
    {
        if (at_ == 8 * bytes_.size())
            return false;
        while (n-- != 0) {
            if (at_ == 8 * bytes_.size())
                return false;
            const auto bit = static_cast<unsigned>(value >> n & 1U) << (7 - at_ % 8);
            bytes_[at_ / 8] = static_cast<unsigned char>(bytes_[at_ / 8] | bit);
            ++at_;
        }
        return true;
    }

    void flush() { at_ = (at_ + 7) / 8 * 8; }

    /// Begun bytes count.
    std::size_t written() const { return (at_ + 7) / 8; }
    /// The whole range; zero behind what was written.
    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    std::vector<unsigned char> bytes_;
    std::size_t at_ = 0;
};
} // namespace zqtest
