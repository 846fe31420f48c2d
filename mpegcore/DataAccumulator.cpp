// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/DataAccumulator.h"

#include <algorithm>
#include <limits>
#include <new>

namespace mpegcore
{
namespace
{
constexpr std::size_t headroom = 4095;
}

CDataAccumulator::CDataAccumulator(unsigned long bytes)
    : data(new unsigned char[bytes == 0 ? headroom : bytes]), capacity(bytes == 0 ? headroom : bytes)
{}

CDataAccumulator::~CDataAccumulator()
{
    delete[] data;
    data = nullptr;
    capacity = size = 0;
}

void CDataAccumulator::addData(const unsigned char* bytes, unsigned long len)
{
    if (len <= capacity - size) {
        std::copy_n(bytes, len, data + size);
    } else {
        if (len > std::numeric_limits<std::size_t>::max() - headroom - size)
            throw std::bad_alloc();
        const std::size_t needed = len + size + headroom;
        unsigned char* const larger = grown(needed);
        std::copy_n(bytes, len, larger + size);
        adopt(larger, needed);
    }
    size += len;
}

void CDataAccumulator::reserve(std::size_t bytes)
{
    if (bytes > capacity)
        adopt(grown(bytes), bytes);
}

unsigned char* CDataAccumulator::grown(std::size_t bytes) const
{
    auto* const larger = new unsigned char[bytes];
    std::copy_n(data, size, larger);
    return larger;
}

void CDataAccumulator::adopt(unsigned char* larger, std::size_t bytes)
{
    delete[] data;
    data = larger;
    capacity = bytes;
}
} // namespace mpegcore
