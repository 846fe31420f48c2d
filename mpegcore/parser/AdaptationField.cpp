// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/parser/AdaptationField.h"

#include "zqsdk/ZQBSReader.h"

namespace mpegcore
{
namespace
{
constexpr unsigned longest_adaptation_field = 183;
constexpr unsigned longest_private_data = 188;

using field_record = adaptation_field_record;
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;

/// One field; left zero when its bits run out.
template <class T>
bool field(Reader& reader, unsigned width, T& value)
{
    if (reader.getBits(width, value))
        return true;
    value = 0;
    return false;
}

bool clock_reference(Reader& reader, std::uint64_t& base, std::uint8_t& reserved, std::uint16_t& extension)
{
    return field(reader, 33, base) && field(reader, 6, reserved) && field(reader, 9, extension);
}

void set_flags(field_record& f, unsigned char byte)
{
    f.discontinuity_indicator = byte >> 7;
    f.random_access_indicator = byte >> 6 & 1U;
    f.elementary_stream_priority_indicator = byte >> 5 & 1U;
    f.PCR_flag = byte >> 4 & 1U;
    f.OPCR_flag = byte >> 3 & 1U;
    f.splicing_point_flag = byte >> 2 & 1U;
    f.transport_private_data_flag = byte >> 1 & 1U;
    f.adaptation_field_extension_flag = byte & 1U;
}

bool flags(Reader& reader, field_record& f)
{
    unsigned char byte = 0;
    if (!reader.getBits(8, byte))
        return false;
    set_flags(f, byte);
    return true;
}

bool private_data(Reader& reader, field_record& f)
{
    for (unsigned at = 0; at < f.transport_private_data_length; ++at)
        if (!field(reader, 8, f.private_data_byte[at]))
            return false;
    return true;
}

bool seamless_splice(Reader& reader, field_record& f)
{
    return field(reader, 4, f.splice_type) && field(reader, 3, f.DTS_next_AU_32_30) && field(reader, 1, f.marker_bit) &&
           field(reader, 15, f.DTS_next_AU_29_15) && field(reader, 1, f.marker_bit2) &&
           field(reader, 15, f.DTS_next_AU_14_0) && field(reader, 1, f.marker_bit3);
}

bool extension(Reader& reader, field_record& f)
{
    return field(reader, 8, f.adaptation_field_extension_length) && field(reader, 1, f.ltw_flag) &&
           field(reader, 1, f.piecewise_rate_flag) && field(reader, 1, f.seamless_splice_flag) &&
           field(reader, 5, f.reserved3) &&
           (f.ltw_flag == 0 || (field(reader, 1, f.ltw_valid_flag) && field(reader, 15, f.ltw_offset))) &&
           (f.piecewise_rate_flag == 0 || (field(reader, 2, f.reserved4) && field(reader, 22, f.piecewise_rate))) &&
           (f.seamless_splice_flag == 0 || seamless_splice(reader, f));
}

/// False when a length is out of range. Running out of bits ends the fields and is no failure.
bool read_fields(Reader& reader, field_record& f)
{
    if (!field(reader, 8, f.adaptation_field_length) || f.adaptation_field_length == 0)
        return true;
    if (f.adaptation_field_length > longest_adaptation_field)
        return false;
    if (!flags(reader, f))
        return true;
    if (f.PCR_flag != 0 &&
        !clock_reference(reader, f.program_clock_reference_base, f.reserved, f.program_clock_reference_extension))
        return true;
    if (f.OPCR_flag != 0 && !clock_reference(reader, f.original_program_clock_reference_base, f.reserved2,
                                             f.original_program_clock_reference_extension))
        return true;
    if (f.splicing_point_flag != 0 && !field(reader, 8, f.splice_countdown))
        return true;
    if (f.transport_private_data_flag != 0) {
        if (!field(reader, 8, f.transport_private_data_length))
            return true;
        if (f.transport_private_data_length > longest_private_data)
            return false;
        if (!private_data(reader, f))
            return true;
    }
    if (f.adaptation_field_extension_flag != 0)
        static_cast<void>(extension(reader, f));
    return true;
}

/// Most fields hold a PCR or nothing behind the flags; these need no reader. False: it is another one.
bool read_usual_fields(const unsigned char* data, std::size_t size, field_record& f)
{
    constexpr unsigned with_PCR = 0x10, optional_fields = 0x1F;
    constexpr std::size_t PCR_field = 8;
    if (size < PCR_field || data[0] == 0 || data[0] > longest_adaptation_field ||
        (data[1] & optional_fields & ~with_PCR) != 0)
        return false;
    f.adaptation_field_length = data[0];
    set_flags(f, data[1]);
    if ((data[1] & with_PCR) == 0)
        return true;
    f.program_clock_reference_base = std::uint64_t{data[2]} << 25 | std::uint64_t{data[3]} << 17 |
                                     std::uint64_t{data[4]} << 9 | std::uint64_t{data[5]} << 1 | data[6] >> 7;
    f.reserved = data[6] >> 1 & 0x3FU;
    f.program_clock_reference_extension = static_cast<std::uint16_t>((data[6] & 1U) << 8 | data[7]);
    return true;
}
} // namespace

// Deliberately, the fields are not held against adaptation_field_length: only the packet bounds them.
bool read_adaptation_field(const transport_packet& packet, adaptation_field_record& cleared)
{
    if (read_usual_fields(packet.payload, packet.payload_size, cleared))
        return true;
    Reader reader(packet.payload, packet.payload_size);
    return read_fields(reader, cleared);
}
} // namespace mpegcore
