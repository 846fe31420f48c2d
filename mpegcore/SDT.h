// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SectionTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>
#include <map>
#include <memory>

namespace mpegcore
{
/// One service of a service description section.
class CServiceDescriptionSection
{
public:
    CServiceDescriptionSection() = default;
    virtual ~CServiceDescriptionSection() = default;
    CServiceDescriptionSection(const CServiceDescriptionSection&) = delete;
    CServiceDescriptionSection& operator=(const CServiceDescriptionSection&) = delete;

    /// Replaces the fields and the descriptors of `target`, with descriptors_loop_length as the descriptors need it.
    void copyTo(CServiceDescriptionSection* target) const;

    template <class Self, class Io>
    static bool syntax(Self& s, Io& io)
    {
        return io.bits(16, "service_id", s.service_id) && io.bits(6, "reserved_future_use", s.reserved_future_use) &&
               io.bits(1, "EIT_schedule_flag", s.EIT_schedule_flag) &&
               io.bits(1, "EIT_present_following_flag", s.EIT_present_following_flag) &&
               io.bits(3, "running_status", s.running_status) && io.bits(1, "free_CA_mode", s.free_CA_mode) &&
               io.length(12, "descriptors_loop_length", s.descriptors_loop_length, s.descriptors.getSize()) &&
               io.descriptors(s.descriptors_loop_length, "descriptors", s.descriptors);
    }

    std::uint16_t service_id = 0;
    std::uint8_t reserved_future_use = 0; ///< 6 bits
    std::uint8_t EIT_schedule_flag = 0;
    std::uint8_t EIT_present_following_flag = 0;
    std::uint8_t running_status = 0; ///< 3 bits
    std::uint8_t free_CA_mode = 0;
    std::uint16_t descriptors_loop_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
};

/// Service description section (ETSI EN 300 468, 5.2.3).
class CSDT : public CSectionTable<CSDT>
{
public:
    using CSectionTable::CSectionTable;

    void Clear() override;
    std::uint32_t calc_section_length() const override;

    std::uint16_t transport_stream_id = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind transport_stream_id
    std::uint16_t original_network_id = 0;
    std::uint8_t reserved_future_use = 0; ///< 8 bits
    std::map<std::uint16_t, std::shared_ptr<CServiceDescriptionSection>>
        services; ///< by service_id; the last one stays

private:
    friend CSectionTable;

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

extern template class CSectionTable<CSDT>;
} // namespace mpegcore
