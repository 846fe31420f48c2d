// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/CRC.h"

#include <algorithm>
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

/// A section with a good CRC: table_id, the syntax indicator set, the reserved bits set, the body, the CRC.
inline std::vector<unsigned char> section_of(std::uint8_t table_id, const std::vector<std::uint8_t>& body)
{
    const std::size_t length = body.size() + 4;
    std::vector<unsigned char> bytes(3 + length);
    bytes[0] = table_id;
    bytes[1] = static_cast<unsigned char>(0xB0 | length >> 8);
    bytes[2] = static_cast<unsigned char>(length);
    std::copy(body.begin(), body.end(), bytes.begin() + 3);
    const std::uint32_t crc = mpegcore::crc32_mpeg2_bytewise(bytes.data(), bytes.size() - 4);
    for (std::size_t at = 0; at < 4; ++at)
        bytes[bytes.size() - 4 + at] = static_cast<unsigned char>(crc >> (24 - 8 * at));
    return bytes;
}
} // namespace zqtest
