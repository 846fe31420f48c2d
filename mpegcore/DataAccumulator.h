// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>

namespace mpegcore
{
/// A growing byte buffer that collects the payload unit of one PID. Allocation failure is thrown as std::bad_alloc and
/// changes nothing.
class CDataAccumulator
{
public:
    /// Empty, with room for `size` bytes; 0 stands for 4095.
    explicit CDataAccumulator(unsigned long size);
    virtual ~CDataAccumulator();
    CDataAccumulator(const CDataAccumulator&) = delete;
    CDataAccumulator& operator=(const CDataAccumulator&) = delete;

    /// Appends `len` bytes. When they do not fit, the capacity becomes exactly size + len + 4095; a caller that appends
    /// many small pieces to a long unit reserves ahead. The bytes may lie in this buffer.
    void addData(const unsigned char* data, unsigned long len);

    /// Makes the capacity at least `bytes`; exactly that when it grows.
    void reserve(std::size_t bytes);

    unsigned char* data; ///< owned
    std::size_t capacity;
    std::size_t size = 0; ///< bytes in use, at most capacity

private:
    unsigned char* grown(std::size_t bytes) const;
    void adopt(unsigned char* larger, std::size_t bytes);
};
} // namespace mpegcore
