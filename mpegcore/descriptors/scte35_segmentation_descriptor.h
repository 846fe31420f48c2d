// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Start or end of a segment: ANSI/SCTE 35, 10.3.3.
class scte35_segmentation_descriptor : public typed_descriptor<scte35_segmentation_descriptor, 0x02>
{
public:
    static constexpr auto places = places_of_tag(0x02, {ZQDescriptorType::SCTE35, ZQDescriptorType::StandardSCTE35});

    struct component
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "component_tag", d.component_tag) && io.bits(7, "reserved", d.reserved) &&
                   io.bits(33, "pts_offset", d.pts_offset);
        }

        std::uint8_t component_tag = 0;
        std::uint8_t reserved = 0;
        /// 33 bits, in units of 90 kHz.
        std::uint64_t pts_offset = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        if (!io.bits(32, "identifier", d.identifier) ||
            !io.bits(32, "segmentation_event_id", d.segmentation_event_id) ||
            !io.bits(1, "segmentation_event_cancel_indicator", d.segmentation_event_cancel_indicator) ||
            !io.bits(7, "reserved", d.reserved))
            return false;
        return d.segmentation_event_cancel_indicator != 0 || (scope(d, io) && segment(d, io));
    }

    /// 0x43554549, "CUEI".
    std::uint32_t identifier = 0;
    std::uint32_t segmentation_event_id = 0;
    /// 1 when nothing follows the reserved bits behind it.
    std::uint8_t segmentation_event_cancel_indicator = 0;
    std::uint8_t reserved = 0;
    std::uint8_t program_segmentation_flag = 0;
    std::uint8_t segmentation_duration_flag = 0;
    std::uint8_t delivery_not_restricted_flag = 0;
    /// The next four when delivery_not_restricted_flag is 0, else reserved2.
    std::uint8_t web_delivery_allowed_flag = 0;
    std::uint8_t no_regional_blackout_flag = 0;
    std::uint8_t archive_allowed_flag = 0;
    std::uint8_t device_restrictions = 0;
    std::uint8_t reserved2 = 0;
    /// With the components when program_segmentation_flag is 0.
    std::uint8_t component_count = 0;
    std::vector<component> components;
    /// 40 bits, in units of 90 kHz, when segmentation_duration_flag is 1.
    std::uint64_t segmentation_duration = 0;
    std::uint8_t segmentation_upid_type = 0;
    std::uint8_t segmentation_upid_length = 0;
    std::vector<unsigned char> segmentation_upid;
    std::uint8_t segmentation_type_id = 0;
    std::uint8_t segment_num = 0;
    std::uint8_t segments_expected = 0;
    /// Not there when descriptor_length ends the body before them.
    std::uint8_t sub_segment_num = 0;
    std::uint8_t sub_segments_expected = 0;

private:
    template <class Self, class Io>
    static bool scope(Self& d, Io& io)
    {
        return io.bits(1, "program_segmentation_flag", d.program_segmentation_flag) &&
               io.bits(1, "segmentation_duration_flag", d.segmentation_duration_flag) &&
               io.bits(1, "delivery_not_restricted_flag", d.delivery_not_restricted_flag) &&
               (d.delivery_not_restricted_flag != 0
                    ? io.bits(5, "reserved", d.reserved2)
                    : io.bits(1, "web_delivery_allowed_flag", d.web_delivery_allowed_flag) &&
                          io.bits(1, "no_regional_blackout_flag", d.no_regional_blackout_flag) &&
                          io.bits(1, "archive_allowed_flag", d.archive_allowed_flag) &&
                          io.bits(2, "device_restrictions", d.device_restrictions)) &&
               (d.program_segmentation_flag != 0 || (io.bits(8, "component_count", d.component_count) &&
                                                     io.counted(d.component_count, "components", d.components))) &&
               (d.segmentation_duration_flag == 0 || io.bits(40, "segmentation_duration", d.segmentation_duration));
    }

    template <class Self, class Io>
    static bool segment(Self& d, Io& io)
    {
        if (!io.bits(8, "segmentation_upid_type", d.segmentation_upid_type) ||
            !io.data(8, "segmentation_upid", d.segmentation_upid_length, d.segmentation_upid))
            return false;
        // Deliberate: the length decides about the sub-segment fields, not segmentation_type_id.
        const bool ends_with_segments = io.body_left() == 3;
        return io.bits(8, "segmentation_type_id", d.segmentation_type_id) && io.bits(8, "segment_num", d.segment_num) &&
               io.bits(8, "segments_expected", d.segments_expected) &&
               (ends_with_segments || (io.bits(8, "sub_segment_num", d.sub_segment_num) &&
                                       io.bits(8, "sub_segments_expected", d.sub_segments_expected)));
    }
};
} // namespace mpegcore
