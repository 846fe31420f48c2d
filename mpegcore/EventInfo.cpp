// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/EventInfo.h"

#include "mpegcore/syntax/SyntaxCopier.h"
#include "mpegcore/syntax/TableSyntax.h"

namespace mpegcore
{
namespace
{
/// The decimal digits of `number` as hexadecimal ones: 12 gives 0x12. Digits above bit 31 are lost.
std::uint32_t to_bcd(unsigned int number)
{
    std::uint32_t bcd = 0;
    for (unsigned shift = 0; number != 0 && shift < 32; shift += 4, number /= 10)
        bcd |= number % 10 << shift;
    return bcd;
}

/// The hexadecimal digits of a byte as decimal ones, up to the first that is none.
int from_bcd(std::uint64_t byte)
{
    const int high = static_cast<int>(byte >> 4 & 0xF);
    const int low = static_cast<int>(byte & 0xF);
    if (high == 0)
        return low > 9 ? 0 : low;
    if (high > 9)
        return 0;
    return low > 9 ? high : 10 * high + low;
}
} // namespace

bool CEventInfo::read(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    TableReader io(reader);
    return syntax(*this, io);
}

bool CEventInfo::write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const
{
    TableWriter io(writer);
    static_cast<void>(syntax(*this, io));
    return true;
}

void CEventInfo::copyTo(CEventInfo* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_fields(*this, *target);
    target->descriptors_loop_length = static_cast<std::uint16_t>(target->descriptors.getSize());
}

std::uint32_t CEventInfo::time_to_duration(unsigned int hours, unsigned int minutes, unsigned int seconds)
{
    return (to_bcd(hours) << 16) + (to_bcd(minutes) << 8) + to_bcd(seconds);
}

std::uint32_t CEventInfo::sec_to_duration(unsigned int seconds)
{
    return time_to_duration(seconds / 3600, seconds % 3600 / 60, seconds % 60);
}

std::uint64_t CEventInfo::time_t_to_start_time(std::int64_t time)
{
    const auto instant = static_cast<std::time_t>(time);
    std::tm utc{};
    if (instant != time || gmtime_r(&instant, &utc) == nullptr)
        return 0;
    const int january_or_february = utc.tm_mon < 2 ? 1 : 0;
    // In 64 bits: the far end of time_t has years whose days do not fit an int.
    const auto year_days = static_cast<std::int64_t>((static_cast<double>(utc.tm_year) - january_or_february) * 365.25);
    const auto month_days = static_cast<std::int64_t>((utc.tm_mon + 2 + 12 * january_or_february) * 30.6001);
    const std::int64_t MJD = 14956 + utc.tm_mday + year_days + month_days;
    return (static_cast<std::uint64_t>(MJD) << 24) + time_to_duration(static_cast<unsigned>(utc.tm_hour),
                                                                      static_cast<unsigned>(utc.tm_min),
                                                                      static_cast<unsigned>(utc.tm_sec));
}

std::time_t CEventInfo::start_time_to_time_t(std::uint64_t start_time)
{
    // 32 bits of it count; whatever the caller put there, what follows fits 64.
    const std::int64_t MJD = static_cast<std::int32_t>(static_cast<std::uint32_t>(start_time >> 24));
    const auto year = static_cast<std::int64_t>((static_cast<double>(MJD) - 15078.2) / 365.25);
    const auto year_days = static_cast<std::int64_t>(static_cast<double>(year) * 365.25);
    const auto month =
        static_cast<std::int64_t>((static_cast<double>(MJD) - 14956.1 - static_cast<double>(year_days)) / 30.6001);
    const auto month_days = static_cast<std::int64_t>(static_cast<double>(month) * 30.6001);
    const int next_year = month == 14 || month == 15 ? 1 : 0;
    std::tm utc{};
    utc.tm_mday = static_cast<int>(MJD - 14956 - year_days - month_days);
    utc.tm_mon = static_cast<int>(month) - 12 * next_year;
    utc.tm_year = static_cast<int>(year) + next_year + 1900;
    utc.tm_hour = from_bcd(start_time >> 16 & 0xFF);
    utc.tm_min = from_bcd(start_time >> 8 & 0xFF);
    utc.tm_sec = from_bcd(start_time & 0xFF);
    return timegm(&utc);
}
} // namespace mpegcore
