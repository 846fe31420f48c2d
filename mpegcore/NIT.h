// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportStreamTable.h"

#include <cstdint>

namespace mpegcore
{
/// One transport stream of a network information section.
class CBaseTransportStream : public CTransportStreamEntry
{
public:
    CBaseTransportStream() = default;
    virtual ~CBaseTransportStream() = default;
    CBaseTransportStream(const CBaseTransportStream&) = delete;
    CBaseTransportStream& operator=(const CBaseTransportStream&) = delete;

    /// Replaces the fields and the descriptors of `target`, with transport_descriptors_length as they need it.
    void copyTo(CBaseTransportStream* target) const;

    ZQDescriptorList descriptors{ZQDescriptorType::TS};
};

/// Network information section (ETSI EN 300 468, 5.2.1).
class CNIT : public CTransportStreamTable<CNIT, CBaseTransportStream>
{
public:
    using CTransportStreamTable::CTransportStreamTable;

    std::uint16_t network_id = 0;
    std::uint16_t network_descriptors_length = 0; ///< as read; written is the size of `network_descriptors`
    ZQDescriptorList network_descriptors{ZQDescriptorType::TS};

private:
    friend CTransportStreamTable;
    friend CSectionTable<CNIT>;

    static constexpr auto id = &CNIT::network_id;
    static constexpr auto id_name = "network_id";
    static constexpr auto first_loop_length = &CNIT::network_descriptors_length;
    static constexpr auto first_loop_length_name = "network_descriptors_length";
    static constexpr auto first_loop = &CNIT::network_descriptors;

    template <class Io, class Self, class Entry>
    static auto& descriptors_of(Self&, Entry& entry)
    {
        return entry.descriptors;
    }
};

extern template class CSectionTable<CNIT>;
extern template class CTransportStreamTable<CNIT, CBaseTransportStream>;
} // namespace mpegcore
