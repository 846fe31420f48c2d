// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/CRC.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zqtest
{
/// The least that a table can be: its body is bytes, each below 0x80, then the CRC.
class ByteTable : public mpegcore::CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;
    using CBaseMpegTable::copy_header;
    using CBaseMpegTable::render_section_without_crc;
    using CBaseMpegTable::same_header;

    void Clear() override
    {
        body.clear();
        CBaseMpegTable::Clear();
    }

    bool read(Reader& reader) override
    {
        return read_section(
            reader, [this] { return table_id != 0xFF; },
            [this](Reader& in) {
                for (int left = section_length - 4; left > 0; --left) {
                    std::uint8_t byte = 0;
                    if (!in.getBits<8>(byte) || byte >= 0x80)
                        return false;
                    body.push_back(byte);
                }
                return in.getBits<32>(CRC_32);
            });
    }

    std::uint32_t calc_section_length() const override
    {
        return static_cast<std::uint32_t>(body.size() + 4) + overstated;
    }

    bool RenderTable()
    {
        return render_section(CRC_32, [this](Writer& out) { return write_body(out); });
    }

    bool write_body(Writer& out) const
    {
        for (const auto byte : body)
            out.putBits<8>(byte);
        return body_is_good;
    }

    std::vector<std::uint8_t> body;
    std::uint32_t CRC_32 = 0;
    std::uint32_t overstated = 0; ///< what calc_section_length() says beyond the truth
    bool body_is_good = true;
};

/// Appends the CRC_32 by the reference form.
inline std::vector<unsigned char> with_crc(std::vector<unsigned char> bytes)
{
    const std::uint32_t crc = mpegcore::crc32_mpeg2_bytewise(bytes.data(), bytes.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(crc >> shift));
    return bytes;
}

/// A section with a good CRC: table_id, the bits `flags` behind it (the syntax indicator and the reserved bits set),
/// the length, the body, the CRC.
inline std::vector<unsigned char> section_of(std::uint8_t table_id, const std::vector<std::uint8_t>& body,
                                             unsigned flags = 0xB)
{
    const std::size_t length = body.size() + 4;
    std::vector<unsigned char> bytes(3 + body.size());
    bytes[0] = table_id;
    bytes[1] = static_cast<unsigned char>(flags << 4 | length >> 8);
    bytes[2] = static_cast<unsigned char>(length);
    std::copy(body.begin(), body.end(), bytes.begin() + 3);
    return with_crc(std::move(bytes));
}
} // namespace zqtest
