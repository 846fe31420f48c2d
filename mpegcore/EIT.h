// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/EventInfo.h"
#include "mpegcore/SectionTable.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// Event information section (ETSI EN 300 468, 5.2.4): present/following or schedule events of one service.
class CEIT : public CSectionTable<CEIT>
{
public:
    using CSectionTable::CSectionTable;

    void Clear() override;
    /// A section too short for its fields leaves them all at 0 and is refused.
    bool read(Reader& reader) override;
    /// Header, fields and events, without CRC_32, and flushes the writer. Always true; writing stops silently where the
    /// writer is full.
    bool write(Writer& writer) override;
    std::uint32_t calc_section_length() const override;

    std::uint16_t service_id = 0;
    std::uint8_t reserved = 0; ///< 2 bits, behind service_id
    std::uint16_t transport_stream_id = 0;
    std::uint16_t original_network_id = 0;
    std::uint8_t segment_last_section_number = 0;
    std::uint8_t last_table_id = 0;
    std::vector<std::shared_ptr<CEventInfo>> events; ///< in stream order, doubles too

private:
    friend CSectionTable;

    template <class Self, class Io>
    static bool fields(Self& t, Io& io);
    template <class Self, class Io>
    static bool syntax(Self& t, Io& io);
};

extern template class CSectionTable<CEIT>;
} // namespace mpegcore
