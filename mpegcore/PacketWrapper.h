// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/descriptors/DescriptorPlace.h"
#include "zqsdk/ZQBSReader.h"

#include <memory>
#include <utility>

namespace mpegcore
{
class CBAT;
class CEIT;
class CPAT;
class CarriedPMT;

template <class T>
class KnownTables;

/// Is told when the CPacketWrapper that it watches goes.
class PacketWrapperWatcher
{
public:
    virtual void wrapper_goes() = 0;

protected:
    ~PacketWrapperWatcher() = default;
};

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
        if (m_watcher != nullptr)
            m_watcher->wrapper_goes();
        delete work;
        delete current;
    }
    CPacketWrapper(const CPacketWrapper&) = delete;
    CPacketWrapper& operator=(const CPacketWrapper&) = delete;

    /// Reads one section into the cleared `work`. 1 when it was good: it is `current` now, and what was current is
    /// cleared and the next `work`. 0 otherwise: `current` and `valid` are as they were.
    int Parser(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
    {
        // Also what others than this class may have put there: `work` is public.
        work->Clear();
        if (!read_work(reader))
            return 0;
        exchange();
        return 1;
    }

    /// The dictionary that sections are read with from now on; unless set, that of T as it is by default.
    void set_dictionary(ZQDescriptorType dictionary)
    {
        work->descriptor_dictionary = dictionary;
        current->descriptor_dictionary = dictionary;
    }

    int valid = 0;        ///< 1 once a section was good
    T* work = nullptr;    ///< owned; scratch
    T* current = nullptr; ///< owned; the last good section

private:
    friend class KnownTables<T>;
    friend class CarriedPMT;

    // A section that failed half-way may have left entries behind.
    void clear_work()
    {
        if (m_work_was_read)
            work->Clear();
        m_work_was_read = false;
    }

    bool read_work(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
    {
        m_work_was_read = true;
        return work->read(reader);
    }

    void exchange()
    {
        std::swap(work, current);
        work->Clear();
        m_work_was_read = false;
        valid = 1;
        ++m_exchanges;
    }

    bool m_work_was_read = false; ///< since it was cleared
    unsigned m_exchanges = 0;
    PacketWrapperWatcher* m_watcher = nullptr;
};
} // namespace mpegcore
