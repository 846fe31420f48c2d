// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>
#include <cstdint>

namespace mpegcore
{
/// Bytes of a section in front of and with section_length.
inline constexpr std::size_t section_header_size = 3;
/// Bytes of a section in front of and with last_section_number, when section_syntax_indicator is 1.
inline constexpr std::size_t long_section_header_size = 8;
/// The longest section that the 12 bits of section_length can announce. No standard allows the last two bytes.
inline constexpr std::size_t longest_section = section_header_size + 0x0FFF;
/// Where a table_id is expected, this ends the payload (ISO/IEC 13818-1, 2.4.4.1).
inline constexpr unsigned char section_stuffing_byte = 0xFF;

/// The header of a section read where it lies (ISO/IEC 13818-1, 2.4.4.11). Owns nothing; the fields behind
/// section_length are there only if has_extension().
class SectionHeader
{
public:
    /// Of a section with `size` bytes, at least section_header_size.
    SectionHeader(const unsigned char* section, std::size_t size) : m_section(section), m_size(size) {}

    std::uint8_t table_id() const { return m_section[0]; }
    bool section_syntax_indicator() const { return (m_section[1] & 0x80U) != 0; }
    std::uint16_t section_length() const
    {
        return static_cast<std::uint16_t>((m_section[1] & 0x0FU) << 8 | m_section[2]);
    }
    /// Bytes that the section announces, its header included.
    std::size_t announced_size() const { return section_header_size + section_length(); }

    /// Whether the fields below are there: section_syntax_indicator is 1 and the section long enough.
    bool has_extension() const { return section_syntax_indicator() && m_size >= long_section_header_size; }
    std::uint16_t table_id_extension() const { return word(3); }
    std::uint8_t version_number() const { return m_section[5] >> 1 & 0x1FU; }
    bool current_next_indicator() const { return (m_section[5] & 1U) != 0; }
    std::uint8_t section_number() const { return m_section[6]; }
    std::uint8_t last_section_number() const { return m_section[7]; }

    /// An event information section with the fields below (ETSI EN 300 468, 5.2.4).
    bool is_EIT() const { return table_id() >= 0x4E && table_id() <= 0x6F && has_extension() && m_size >= 14; }
    std::uint16_t EIT_transport_stream_id() const { return word(8); }
    std::uint16_t EIT_original_network_id() const { return word(10); }
    std::uint8_t segment_last_section_number() const { return m_section[12]; }

    /// Whether a section of this kind ends in a CRC_32: by the table_id where a standard says so, also against a
    /// section_syntax_indicator that is wrong, and otherwise by that.
    bool has_CRC_32() const;

private:
    std::uint16_t word(std::size_t at) const
    {
        return static_cast<std::uint16_t>(m_section[at] << 8 | m_section[at + 1]);
    }

    const unsigned char* m_section;
    std::size_t m_size;
};

/// False when a section that must end in a CRC_32 has a wrong one, or is too short for one.
[[nodiscard]] bool section_CRC_is_good(const unsigned char* section, std::size_t size);
} // namespace mpegcore
