// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/zqdescriptorlist.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <cstdint>
#include <ctime>

namespace mpegcore
{
/// One event of an event information section (ETSI EN 300 468, 5.2.4), and the conversions of DVB times (Annex C).
class CEventInfo
{
public:
    CEventInfo() = default;
    virtual ~CEventInfo() = default;
    CEventInfo(const CEventInfo&) = delete;
    CEventInfo& operator=(const CEventInfo&) = delete;

    /// Adds the descriptors that it reads to `descriptors`. False when the data run out or a descriptor is bad.
    bool read(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    /// With descriptors_loop_length as stored. Always true; writing stops silently where the writer is full.
    bool write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const;
    /// Replaces the fields and the descriptors of `target`, with descriptors_loop_length as the descriptors need it.
    void copyTo(CEventInfo* target) const;

    /// BCD hhmmss. Deliberately not clipped: 123 hours spill above bit 23.
    static std::uint32_t time_to_duration(unsigned int hours, unsigned int minutes, unsigned int seconds);
    static std::uint32_t sec_to_duration(unsigned int seconds);
    /// MJD and BCD hhmmss of `time`, UTC, in 40 bits; 0 for a time that std::time_t does not hold or
    /// whose year no calendar time can hold.
    static std::uint64_t time_t_to_start_time(std::int64_t time);
    /// Deliberately 1900 years and two months behind the encoded date: year and month are not taken back to the
    /// counting of struct tm.
    static std::time_t start_time_to_time_t(std::uint64_t start_time);

    template <class Self, class Io>
    static bool syntax(Self& e, Io& io)
    {
        return io.bits(16, "event_id", e.event_id) && io.time("start_time", e.start_time) &&
               io.duration("duration", e.duration) && io.bits(3, "running_status", e.running_status) &&
               io.bits(1, "free_CA_mode", e.free_CA_mode) &&
               io.bits(12, "descriptors_loop_length", e.descriptors_loop_length) &&
               io.descriptors(e.descriptors_loop_length, "descriptors", e.descriptors);
    }

    std::uint16_t event_id = 0;
    std::uint64_t start_time = 0;              ///< 40 bits, UTC: MJD in bits 39 to 24, BCD hhmmss below
    std::uint32_t duration = 0;                ///< 24 bits, BCD hhmmss
    std::uint8_t running_status = 0;           ///< 3 bits
    std::uint8_t free_CA_mode = 0;             ///< 1 bit
    std::uint16_t descriptors_loop_length = 0; ///< as read, and written as stored
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
};
} // namespace mpegcore
