// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/StandardTable.h"

namespace mpegcore
{
/// Application information section (ETSI TS 102 809, 5.3.4.6): table_id 0x74 on a PID whose loop in the program map has
/// an application_signalling_descriptor. The tags of its descriptors are a space of their own.
class CAIT : public CStandardTable<CAIT, true>
{
public:
    using CStandardTable::CStandardTable;

    struct application
    {
        template <class Self, class Io>
        static bool syntax(Self& a, Io& io)
        {
            return io.bits(32, "organisation_id", a.organisation_id) &&
                   io.bits(16, "application_id", a.application_id) &&
                   io.bits(8, "application_control_code", a.application_control_code) &&
                   io.bits(4, "reserved_future_use", a.reserved_future_use) &&
                   io.length(12, "application_descriptors_loop_length", a.application_descriptors_loop_length,
                             a.descriptors.getSize()) &&
                   io.descriptors(a.application_descriptors_loop_length, "descriptors", a.descriptors);
        }

        std::uint32_t organisation_id = 0;
        std::uint16_t application_id = 0;
        std::uint8_t application_control_code = 0;
        std::uint8_t reserved_future_use = 0;                  ///< 4 bits
        std::uint16_t application_descriptors_loop_length = 0; ///< as read; written is the size of `descriptors`
        ZQDescriptorList descriptors{ZQDescriptorType::StandardAIT};
    };

    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.bits(1, "test_application_flag", t.test_application_flag) &&
               io.bits(15, "application_type", t.application_type) && io.bits(2, "reserved", t.reserved) &&
               SectionVersion::syntax(t.version, io) && io.bits(4, "reserved_future_use", t.reserved_future_use) &&
               io.length(12, "common_descriptors_length", t.common_descriptors_length, t.descriptors.getSize()) &&
               io.descriptors(t.common_descriptors_length, "descriptors", t.descriptors) &&
               io.bits(4, "reserved_future_use", t.reserved_future_use2) &&
               io.length(12, "application_loop_length", t.application_loop_length, t.size_of_applications()) &&
               io.exactly(t.application_loop_length,
                          [&] { return io.entries(application_size, "applications", t.applications); });
    }

    void copyTo(CAIT* target) const
    {
        if (target == nullptr || target == this)
            return;
        copy_header(*target);
        target->clear_loops();
        target->test_application_flag = test_application_flag;
        target->application_type = application_type;
        target->reserved = reserved;
        target->version = version;
        target->reserved_future_use = reserved_future_use;
        target->common_descriptors_length = common_descriptors_length;
        descriptors.copyTo(target->descriptors);
        target->reserved_future_use2 = reserved_future_use2;
        target->application_loop_length = application_loop_length;
        for (const auto& from : applications) {
            auto& to = *target->applications.emplace_back(std::make_shared<application>());
            to.organisation_id = from->organisation_id;
            to.application_id = from->application_id;
            to.application_control_code = from->application_control_code;
            to.reserved_future_use = from->reserved_future_use;
            to.application_descriptors_loop_length = from->application_descriptors_loop_length;
            from->descriptors.copyTo(to.descriptors);
        }
        target->CRC_32 = CRC_32;
    }

    void clear_loops()
    {
        descriptors.clear();
        applications.clear();
    }

    std::uint8_t test_application_flag = 0;
    std::uint16_t application_type = 0; ///< 15 bits
    std::uint8_t reserved = 0;          ///< 2 bits, before version_number
    SectionVersion version;
    std::uint8_t reserved_future_use = 0;        ///< 4 bits
    std::uint16_t common_descriptors_length = 0; ///< as read; written is the size of `descriptors`
    ZQDescriptorList descriptors{ZQDescriptorType::StandardAIT};
    std::uint8_t reserved_future_use2 = 0;                  ///< 4 bits
    std::uint16_t application_loop_length = 0;              ///< as read; written is the size of the applications
    std::vector<std::shared_ptr<application>> applications; ///< no empty pointers

private:
    static constexpr std::size_t application_size = 9;

    std::size_t size_of_applications() const
    {
        std::size_t size = 0;
        for (const auto& one : applications)
            size += application_size + one->descriptors.getSize();
        return size;
    }
};
} // namespace mpegcore
