// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/Syntax.h"

#include <cstdint>
#include <vector>

namespace mpegcore
{
/// splice_time() of ANSI/SCTE 35, 9.8.1.
struct SpliceTime
{
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io)
    {
        return io.bits(1, "time_specified_flag", t.time_specified_flag) &&
               (t.time_specified_flag == 0 ? io.bits(7, "reserved", t.reserved)
                                           : io.bits(6, "reserved", t.reserved) && io.bits(33, "pts_time", t.pts_time));
    }

    std::uint8_t time_specified_flag = 0;
    std::uint8_t reserved = 0;  ///< 6 bits with a time, 7 without
    std::uint64_t pts_time = 0; ///< 33 bits, 90 kHz; pts_adjustment of the section is to be added
};

/// break_duration() of ANSI/SCTE 35, 9.8.2.
struct BreakDuration
{
    template <class Self, class Io>
    static bool syntax(Self& b, Io& io)
    {
        return io.bits(1, "auto_return", b.auto_return) && io.bits(6, "reserved", b.reserved) &&
               io.bits(33, "duration", b.duration);
    }

    std::uint8_t auto_return = 0;
    std::uint8_t reserved = 0;
    std::uint64_t duration = 0; ///< 33 bits, 90 kHz
};

/// What splice_insert() and splice_schedule() end with.
struct SpliceAvail
{
    template <class Self, class Io>
    static bool syntax(Self& a, Io& io)
    {
        return io.bits(16, "unique_program_id", a.unique_program_id) && io.bits(8, "avail_num", a.avail_num) &&
               io.bits(8, "avails_expected", a.avails_expected);
    }

    std::uint16_t unique_program_id = 0;
    std::uint8_t avail_num = 0;
    std::uint8_t avails_expected = 0;
};

/// splice_insert() of ANSI/SCTE 35, 9.7.3.
struct SpliceInsert
{
    struct component
    {
        template <class Self, class Io>
        static bool syntax(Self& c, Io& io)
        {
            return io.bits(8, "component_tag", c.component_tag) && io.entry("splice_time", c.splice_time);
        }

        std::uint8_t component_tag = 0;
        SpliceTime splice_time;
    };

    struct immediate_component
    {
        template <class Self, class Io>
        static bool syntax(Self& c, Io& io)
        {
            return io.bits(8, "component_tag", c.component_tag);
        }

        std::uint8_t component_tag = 0;
    };

    template <class Self, class Io>
    static bool syntax(Self& s, Io& io)
    {
        return io.bits(32, "splice_event_id", s.splice_event_id) &&
               io.bits(1, "splice_event_cancel_indicator", s.splice_event_cancel_indicator) &&
               io.bits(7, "reserved", s.reserved) && (s.splice_event_cancel_indicator != 0 || event(s, io));
    }

    std::uint32_t splice_event_id = 0;
    std::uint8_t splice_event_cancel_indicator = 0; ///< 1 when nothing follows the reserved bits behind it
    std::uint8_t reserved = 0;
    std::uint8_t out_of_network_indicator = 0;
    std::uint8_t program_splice_flag = 0;
    std::uint8_t duration_flag = 0;
    std::uint8_t splice_immediate_flag = 0;
    std::uint8_t event_id_compliance_flag = 0;
    std::uint8_t reserved2 = 0;
    SpliceTime splice_time;                                ///< of a program, when not immediate
    std::uint8_t component_count = 0;                      ///< with the components, when program_splice_flag is 0
    std::vector<component> components;                     ///< when not immediate
    std::vector<immediate_component> immediate_components; ///< when immediate
    BreakDuration break_duration;                          ///< when duration_flag is 1
    SpliceAvail avail;

private:
    template <class Self, class Io>
    static bool event(Self& s, Io& io)
    {
        return io.bits(1, "out_of_network_indicator", s.out_of_network_indicator) &&
               io.bits(1, "program_splice_flag", s.program_splice_flag) &&
               io.bits(1, "duration_flag", s.duration_flag) &&
               io.bits(1, "splice_immediate_flag", s.splice_immediate_flag) &&
               io.bits(1, "event_id_compliance_flag", s.event_id_compliance_flag) &&
               io.bits(3, "reserved", s.reserved2) && when(s, io) &&
               (s.duration_flag == 0 || io.entry("break_duration", s.break_duration)) &&
               SpliceAvail::syntax(s.avail, io);
    }

    template <class Self, class Io>
    static bool when(Self& s, Io& io)
    {
        if (s.program_splice_flag != 0)
            return s.splice_immediate_flag != 0 || io.entry("splice_time", s.splice_time);
        return io.bits(8, "component_count", s.component_count) &&
               (s.splice_immediate_flag == 0 ? io.counted(s.component_count, "components", s.components)
                                             : io.counted(s.component_count, "components", s.immediate_components));
    }
};

/// splice_schedule() of ANSI/SCTE 35, 9.7.2.
struct SpliceSchedule
{
    struct component
    {
        template <class Self, class Io>
        static bool syntax(Self& c, Io& io)
        {
            return io.bits(8, "component_tag", c.component_tag) && io.bits(32, "utc_splice_time", c.utc_splice_time);
        }

        std::uint8_t component_tag = 0;
        std::uint32_t utc_splice_time = 0; ///< seconds since 1980-01-06 00:00 UTC, leap seconds counted
    };

    struct event
    {
        template <class Self, class Io>
        static bool syntax(Self& e, Io& io)
        {
            return io.bits(32, "splice_event_id", e.splice_event_id) &&
                   io.bits(1, "splice_event_cancel_indicator", e.splice_event_cancel_indicator) &&
                   io.bits(1, "event_id_compliance_flag", e.event_id_compliance_flag) &&
                   io.bits(6, "reserved", e.reserved) && (e.splice_event_cancel_indicator != 0 || rest(e, io));
        }

        std::uint32_t splice_event_id = 0;
        std::uint8_t splice_event_cancel_indicator = 0; ///< 1 when nothing follows the reserved bits
        std::uint8_t event_id_compliance_flag = 0;
        std::uint8_t reserved = 0;
        std::uint8_t out_of_network_indicator = 0;
        std::uint8_t program_splice_flag = 0;
        std::uint8_t duration_flag = 0;
        std::uint8_t reserved2 = 0;
        std::uint32_t utc_splice_time = 0; ///< when program_splice_flag is 1, as in `component`
        std::uint8_t component_count = 0;  ///< with the components, when it is 0
        std::vector<component> components;
        BreakDuration break_duration; ///< when duration_flag is 1
        SpliceAvail avail;

    private:
        template <class Self, class Io>
        static bool rest(Self& e, Io& io)
        {
            return io.bits(1, "out_of_network_indicator", e.out_of_network_indicator) &&
                   io.bits(1, "program_splice_flag", e.program_splice_flag) &&
                   io.bits(1, "duration_flag", e.duration_flag) && io.bits(5, "reserved", e.reserved2) &&
                   (e.program_splice_flag != 0 ? io.bits(32, "utc_splice_time", e.utc_splice_time)
                                               : io.bits(8, "component_count", e.component_count) &&
                                                     io.counted(e.component_count, "components", e.components)) &&
                   (e.duration_flag == 0 || io.entry("break_duration", e.break_duration)) &&
                   SpliceAvail::syntax(e.avail, io);
        }
    };

    template <class Self, class Io>
    static bool syntax(Self& s, Io& io)
    {
        return io.bits(8, "splice_count", s.splice_count) && io.counted(s.splice_count, "events", s.events);
    }

    std::uint8_t splice_count = 0;
    std::vector<event> events;
};
} // namespace mpegcore
