// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "zqsdk/ZQBSReader.h"

#include <memory>
#include <utility>

namespace mpegcore
{
class CBAT;
class CEIT;

/// Bytes of the section buffer of each instance in a CPacketWrapper.
template <class T>
inline constexpr unsigned long section_buffer_size = 1024;
template <>
inline constexpr unsigned long section_buffer_size<CBAT> = 4096;
template <>
inline constexpr unsigned long section_buffer_size<CEIT> = 4096;

/// Two instances of the table class T: the next section is parsed into one while the last good one stays readable.
template <class T>
class CPacketWrapper
{
public:
    CPacketWrapper()
    {
        auto first = std::make_unique<T>(nullptr, section_buffer_size<T>);
        current = new T(nullptr, section_buffer_size<T>);
        work = first.release();
    }
    ~CPacketWrapper()
    {
        delete work;
        delete current;
    }
    CPacketWrapper(const CPacketWrapper&) = delete;
    CPacketWrapper& operator=(const CPacketWrapper&) = delete;

    /// Reads one section into the cleared `work`. 1 when it was good: it is `current` now, and what was current is
    /// cleared and the next `work`. 0 otherwise: `current` and `valid` are as they were.
    int Parser(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
    {
        // A section that failed half-way may have left entries behind.
        if (work_was_read)
            work->Clear();
        work_was_read = true;
        if (!work->read(reader))
            return 0;
        std::swap(work, current);
        work->Clear();
        work_was_read = false;
        valid = 1;
        return 1;
    }

    int valid = 0;        ///< 1 once a section was good
    T* work = nullptr;    ///< owned; scratch
    T* current = nullptr; ///< owned; the last good section

private:
    bool work_was_read = false; ///< since it was cleared
};
} // namespace mpegcore
