// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/TransportStreamTable.h"

#include <cstdint>

namespace mpegcore
{
/// One transport stream of a bouquet association section. The list that it derives from is not used by the library.
class CBouquetAssociationStream : public ZQDescriptorList, public CTransportStreamEntry
{
public:
    CBouquetAssociationStream() : ZQDescriptorList(ZQDescriptorType::TS) {}

    /// Copies the fields and adds copies of the descriptors to those of `target`. Deliberately, the target's
    /// transport_descriptors_length becomes that of the whole entry, 6 more than its descriptors take.
    void copyTo(CBouquetAssociationStream* target) const;

    ZQDescriptorList transport_descriptors{ZQDescriptorType::TS};
};

/// Bouquet association section (ETSI EN 300 468, 5.2.2). Deliberately, the descriptors of the transport streams are
/// read into `bouquet_descriptors` too, behind its own and in stream order; the lists of the entries stay empty. With
/// the dictionary ZQDescriptorType::Standard each entry gets its own.
class CBAT : public CTransportStreamTable<CBAT, CBouquetAssociationStream>
{
public:
    using CTransportStreamTable::CTransportStreamTable;

    std::uint16_t bouquet_id = 0;
    std::uint16_t bouquet_descriptors_length = 0; ///< as read; written is the size of `bouquet_descriptors`
    ZQDescriptorList bouquet_descriptors{ZQDescriptorType::TS};

private:
    friend CTransportStreamTable;
    friend CSectionTable<CBAT>;

    static constexpr auto id = &CBAT::bouquet_id;
    static constexpr auto id_name = "bouquet_id";
    static constexpr auto first_loop_length = &CBAT::bouquet_descriptors_length;
    static constexpr auto first_loop_length_name = "bouquet_descriptors_length";
    static constexpr auto first_loop = &CBAT::bouquet_descriptors;

    template <class Io, class Self, class Entry>
    static auto& descriptors_of(Self& t, Entry& entry)
    {
        if constexpr (Io::reading)
            return t.descriptor_dictionary == ZQDescriptorType::Standard ? entry.transport_descriptors
                                                                         : t.bouquet_descriptors;
        else
            return entry.transport_descriptors;
    }
};

extern template class CSectionTable<CBAT>;
extern template class CTransportStreamTable<CBAT, CBouquetAssociationStream>;
} // namespace mpegcore
