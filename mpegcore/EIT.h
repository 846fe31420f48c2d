// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/EventInfo.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// Event information section (ETSI EN 300 468, 5.2.4): present/following or schedule events of one service.
class CEIT : public CBaseMpegTable
{
public:
    using CBaseMpegTable::CBaseMpegTable;

    void Clear() override;
    /// A section too short for its fields leaves them all at 0 and is refused.
    bool read(Reader& reader) override;
    /// Header, fields and events, without CRC_32, and flushes the writer. Always true; writing stops silently where the
    /// writer is full.
    bool write(Writer& writer) override;
    std::uint32_t calc_section_length() const override;
    void print(FieldPrinter& printer) const override;
    /// One section. False, with `used` 0, when it does not fit `buffer` or 4095 bytes of section_length.
    [[nodiscard]] bool RenderTable();
    void copyTo(CEIT* target) const;

    std::uint16_t service_id = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind service_id
    std::uint8_t version_number = 0;
    std::uint8_t current_next_indicator = 0;
    std::uint8_t section_number = 0;
    std::uint8_t last_section_number = 0;
    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint8_t segment_last_section_number = 0;
    std::uint8_t last_table_id = 0;
    std::vector<std::shared_ptr<CEventInfo>> events; ///< in stream order, doubles too
    std::uint32_t CRC_32 = 0;

private:
    template <class Self, class Io>
    static bool fields(Self& t, Io& io);
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};
} // namespace mpegcore
