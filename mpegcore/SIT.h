// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/StandardTable.h"

namespace mpegcore
{
/// Selection information section (ETSI EN 300 468, 7.1.2): table_id 0x7F on PID 0x001F of partial transport streams.
class CSIT : public CStandardTable<CSIT, true>
{
public:
    using CStandardTable::CStandardTable;

    struct service
    {
        template <class Self, class Io>
        static bool syntax(Self& s, Io& io)
        {
            return io.bits(16, "service_id", s.service_id) &&
                   io.bits(1, "reserved_future_use", s.reserved_future_use) &&
                   io.bits(3, "running_status", s.running_status) &&
                   io.length(12, "service_loop_length", s.service_loop_length, s.descriptors.getSize()) &&
                   io.descriptors(s.service_loop_length, "descriptors", s.descriptors);
        }

        std::uint16_t service_id = 0;
        std::uint8_t reserved_future_use = 0;
        std::uint8_t running_status = 0;       ///< 3 bits
        std::uint16_t service_loop_length = 0; ///< as read; written is the size of `descriptors`
        ZQDescriptorList descriptors{ZQDescriptorType::Standard};
    };

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.bits(16, "reserved_future_use", t.reserved_future_use) && io.bits(2, "reserved", t.reserved) &&
               SectionVersion::syntax(t.version, io) && io.bits(4, "reserved_future_use", t.reserved_future_use2) &&
               io.length(12, "transmission_info_loop_length", t.transmission_info_loop_length,
                         t.descriptors.getSize()) &&
               io.descriptors(t.transmission_info_loop_length, "descriptors", t.descriptors) &&
               io.entries(4, "services", t.services);
    }

    void copyTo(CSIT* target) const
    {
        if (target == nullptr || target == this)
            return;
        copy_header(*target);
        target->clear_loops();
        target->reserved_future_use = reserved_future_use;
        target->reserved = reserved;
        target->version = version;
        target->reserved_future_use2 = reserved_future_use2;
        target->transmission_info_loop_length = transmission_info_loop_length;
        descriptors.copyTo(target->descriptors);
        for (const auto& from : services) {
            auto& to = *target->services.emplace_back(std::make_shared<service>());
            to.service_id = from->service_id;
            to.reserved_future_use = from->reserved_future_use;
            to.running_status = from->running_status;
            to.service_loop_length = from->service_loop_length;
            from->descriptors.copyTo(to.descriptors);
        }
        target->CRC_32 = CRC_32;
    }

    void clear_loops()
    {
        descriptors.clear();
        services.clear();
    }

    std::uint16_t reserved_future_use = 0;
    std::uint8_t reserved = 0; ///< 2 bits, before version_number
    SectionVersion version;
    std::uint8_t reserved_future_use2 = 0;           ///< 4 bits
    std::uint16_t transmission_info_loop_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::Standard};
    std::vector<std::shared_ptr<service>> services; ///< no empty pointers
};
} // namespace mpegcore
