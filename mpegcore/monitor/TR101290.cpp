// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/monitor/TR101290.h"

#include <cstdio>

namespace mpegcore
{
namespace
{
constexpr std::uint64_t second = 1'000'000'000;

constexpr bool is_in_order()
{
    for (std::size_t at = 0; at < TR101290_checks.size(); ++at)
        if (static_cast<std::size_t>(TR101290_checks[at].check) != at)
            return false;
    return true;
}
static_assert(is_in_order());

/// `format` takes up to three numbers.
std::string text(const char* format, std::uint64_t a = 0, std::uint64_t b = 0, std::uint64_t c = 0)
{
    std::array<char, 128> room{};
    std::snprintf(room.data(), room.size(), format, static_cast<unsigned long long>(a),
                  static_cast<unsigned long long>(b), static_cast<unsigned long long>(c));
    return room.data();
}
} // namespace

std::string CheckRecord::detail() const
{
    constexpr std::uint64_t low_32 = 0xFFFFFFFF, low_16 = 0xFFFF, low_8 = 0xFF;
    switch (finding) {
    case Finding::none:
        return {};
    case Finding::sync_bytes:
        return text("%llu wrong sync bytes in a row", value);
    case Finding::input_gone:
        return text("no packet for %llu ms", value);
    case Finding::sync_by_receiver:
        return "bytes between packets";
    case Finding::sync_byte:
        return text("0x%02llX in place of the sync byte", value);
    case Finding::absent:
        return text("absent for %llu ms", value);
    case Finding::foreign_table:
        return text("section with table_id 0x%02llX", value);
    case Finding::is_scrambled:
        return text("transport_scrambling_control %llu", value);
    case Finding::packets_missing:
        return text("%llu packets missing, or 16 more each", value);
    case Finding::repeated_again:
        return "packet came more than twice";
    case Finding::repeated_otherwise:
        return "counter of the packet before with other contents";
    case Finding::counted_without_payload:
        return "counter went on without payload";
    case Finding::transport_error_indicator:
        return "transport_error_indicator is set";
    case Finding::CRC_32:
        return text("CRC_32 of a section with table_id 0x%02llX", value);
    case Finding::PCR_interval:
        return text("%llu ms since the PCR before", value);
    case Finding::PCR_step:
        return text("PCR went on by %llu ms", value);
    case Finding::too_close:
        return text("%llu us behind the section before", value);
    case Finding::table_absent:
        return text("table_id 0x%02llX absent for %llu ms", value >> 32, value & low_32);
    case Finding::section_absent:
        return text("section %llu of table_id 0x%02llX absent for %llu ms", value >> 32 & low_8, value >> 40,
                    value & low_32);
    case Finding::pf_incomplete:
        return text("section %llu missing for service %llu", value & low_8, value >> 8);
    case Finding::unreferenced:
        return "no table names the PID";
    case Finding::no_CAT:
        return text("packets are scrambled, and there was no CAT for %llu ms", value);
    case Finding::packet_type:
        return text("packet_type 0x%02llX", value);
    case Finding::packet_count:
        return "packet_count does not follow";
    case Finding::T2MI_CRC_32:
        return "CRC-32 of a T2-MI packet";
    case Finding::T2MI_payload:
        return text("contents of a packet of packet_type 0x%02llX", value);
    case Finding::PLP_blocks:
        return text("PLP %llu: %llu baseband frames for a PLP_NUM_BLOCKS of %llu", value >> 48, value & low_32,
                    value >> 32 & low_16);
    case Finding::frame_behind_L1:
        return text("PLP %llu: baseband frame behind the L1 of its T2 frame", value);
    case Finding::L1_goes_back:
        return text("L1 went back to frame_idx %llu", value);
    case Finding::timestamps_differ:
        return "timestamps of a super-frame differ";
    case Finding::timestamp_step:
        return text("timestamp went on by %llu units", value);
    }
    return {};
}

std::size_t TR101290::failing(unsigned priority) const
{
    std::size_t number = 0;
    for (const CheckName& name : TR101290_checks)
        if (name.priority == priority && (*this)[name.check].state == CheckState::failing)
            ++number;
    return number;
}

void TR101290::note_second(std::size_t at, std::uint64_t now)
{
    CheckRecord& record = m_records[at];
    record.last = now;
    if (m_seconds[at] == now / second + 1)
        return;
    m_seconds[at] = now / second + 1;
    ++record.error_seconds;
}

void TR101290::raise(Check check, std::uint64_t now, Finding finding, std::uint64_t value, std::uint16_t PID)
{
    const std::size_t at = index(check);
    CheckRecord& record = m_records[at];
    if (record.count++ == 0)
        record.first = now;
    record.state = CheckState::failing;
    record.finding = finding;
    record.value = value;
    record.PID = PID;
    note_second(at, now);
}

void TR101290::lasts(Check check, std::uint64_t now)
{
    m_records[index(check)].state = CheckState::failing;
    note_second(index(check), now);
}

void TR101290::settle(std::uint64_t now)
{
    for (std::size_t at = 0; at < size; ++at) {
        CheckRecord& record = m_records[at];
        const bool is_always_on = at == index(Check::TS_sync_loss) || at == index(Check::Sync_byte_error);
        if (!is_always_on && (m_is_suspended || !m_applies[at]))
            record.state = CheckState::not_applicable;
        else
            record.state = record.count != 0 && now - record.last < second ? CheckState::failing : CheckState::ok;
    }
}
} // namespace mpegcore
