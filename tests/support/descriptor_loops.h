// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <typeindex>
#include <vector>

namespace zqtest
{
using Bytes = std::vector<unsigned char>;
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;

/// A heap block of exactly the size of its contents, so that AddressSanitizer sees every byte read or written beside.
class ExactBlock
{
public:
    explicit ExactBlock(std::size_t size) : m_size(size), m_data(new unsigned char[size]()) {}
    explicit ExactBlock(const Bytes& bytes) : ExactBlock(bytes.size())
    {
        std::copy(bytes.begin(), bytes.end(), m_data.get());
    }

    unsigned char* data() { return m_data.get(); }
    std::size_t size() const { return m_size; }
    Reader reader() { return {data(), size()}; }
    Bytes bytes(std::size_t count) const { return {m_data.get(), m_data.get() + count}; }

private:
    std::size_t m_size;
    std::unique_ptr<unsigned char[]> m_data;
};

/// What `write` of `source`, a descriptor or a list, stores when there is room enough.
template <class Source>
Bytes written(const Source& source)
{
    ExactBlock block(4096);
    Writer writer(block.data(), block.size());
    static_cast<void>(source.write(writer));
    writer.flush();
    return block.bytes(writer.bytesWritten());
}

/// The class of an object. (typeid of what a call or an iterator gives looks to clang++ like a mistake.)
template <class T>
std::type_index type_of(const T& object)
{
    return typeid(object);
}

/// Reads `bytes` with the dictionary `type`, expects exactly one descriptor, of class T, and the same bytes when it is
/// written again.
template <class T>
std::shared_ptr<T> golden(mpegcore::ZQDescriptorType type, const Bytes& bytes)
{
    ExactBlock block(bytes);
    auto reader = block.reader();
    mpegcore::ZQDescriptorList list(type);
    EXPECT_TRUE(list.read(reader));
    EXPECT_EQ(reader.availableBytes(), 0U);
    EXPECT_EQ(list.getSize(), bytes.size());
    EXPECT_EQ(written(list), bytes);
    const mpegcore::base_descriptor* const only = list.size() == 1 ? list.begin()->get() : nullptr;
    if (only == nullptr || type_of(*only) != typeid(T)) {
        ADD_FAILURE() << "not one descriptor of the class";
        return std::make_shared<T>();
    }
    EXPECT_EQ((*list.begin())->descriptor_tag, bytes[0]);
    EXPECT_EQ((*list.begin())->descriptor_length, bytes[1]);
    return list.find<T>();
}

template <class T>
std::shared_ptr<T> golden_ts(const Bytes& bytes)
{
    return golden<T>(mpegcore::ZQDescriptorType::TS, bytes);
}

template <class T>
std::shared_ptr<T> golden_scte35(const Bytes& bytes)
{
    return golden<T>(mpegcore::ZQDescriptorType::SCTE35, bytes);
}

template <class T>
std::shared_ptr<T> golden_standard(const Bytes& bytes)
{
    return golden<T>(mpegcore::ZQDescriptorType::Standard, bytes);
}

/// The first `count` bytes of `storage` as text.
template <class Storage>
std::string_view text(const Storage& storage, std::size_t count)
{
    return {reinterpret_cast<const char*>(storage.data()), count};
}

template <class Storage>
std::string_view text(const Storage& storage)
{
    return text(storage, storage.size());
}

/// Raw bytes and texts in one line.
inline Bytes operator+(Bytes left, std::string_view right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
} // namespace zqtest
