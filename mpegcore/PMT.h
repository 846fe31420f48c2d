// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/SectionTable.h"
#include "mpegcore/zqdescriptorlist.h"

#include <cstdint>
#include <map>
#include <memory>

namespace mpegcore
{
/// One elementary stream of a program map section.
class CBaseStreamTypeMap
{
public:
    CBaseStreamTypeMap() = default;
    virtual ~CBaseStreamTypeMap() = default;
    CBaseStreamTypeMap(const CBaseStreamTypeMap&) = delete;
    CBaseStreamTypeMap& operator=(const CBaseStreamTypeMap&) = delete;

    /// Replaces the fields and the descriptors of `target`, with ES_info_length as the descriptors need it.
    void copyTo(CBaseStreamTypeMap* target) const;

    template <class Self, class Io>
    static bool syntax(Self& s, Io& io)
    {
        return io.bits(8, "stream_type", s.stream_type) && io.bits(3, "reserved", s.reserved) &&
               io.bits(13, "elementary_PID", s.elementary_PID) && io.bits(4, "reserved", s.reserved2) &&
               io.length(12, "ES_info_length", s.ES_info_length, s.descriptors.getSize()) &&
               io.descriptors(s.ES_info_length, "descriptors", s.descriptors);
    }

    std::uint8_t stream_type = 0;
    std::uint8_t reserved = 0; ///< 3 bits
    std::uint16_t elementary_PID = 0;
    std::uint8_t reserved2 = 0;       ///< 4 bits
    std::uint16_t ES_info_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
};

/// Program map section (ISO/IEC 13818-1, 2.4.4.8). Reading refuses a table_id other than 0x02 and a set
/// private_indicator; section_syntax_indicator is not checked.
class CPMT : public CSectionTable<CPMT>
{
public:
    using CSectionTable::CSectionTable;

    void Clear() override;
    std::uint32_t calc_section_length() const override;
    /// Compares the fields, the reserved bits among them but deliberately not section_number, and the number of
    /// streams; not CRC_32, descriptors and streams.
    bool operator!=(const CPMT& other) const;

    std::uint16_t program_number = 0;
    std::uint8_t reserved = 0;  ///< 2 bits, behind program_number
    std::uint8_t reserved2 = 0; ///< 3 bits, in front of PCR_PID
    std::uint16_t PCR_PID = 0;
    std::uint8_t reserved3 = 0;            ///< 4 bits, in front of program_info_length
    std::uint16_t program_info_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::TS};
    std::map<std::uint16_t, std::shared_ptr<CBaseStreamTypeMap>> streams; ///< by elementary_PID; the last one stays

private:
    friend CSectionTable;

    bool header_fits() const;
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

extern template class CSectionTable<CPMT>;
} // namespace mpegcore
