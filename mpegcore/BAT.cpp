// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BAT.h"

#include "mpegcore/syntax/TransportStreamTableSyntax.h"

namespace mpegcore
{
template class CSectionTable<CBAT>;
template class CTransportStreamTable<CBAT, CBouquetAssociationStream>;

void CBouquetAssociationStream::copyTo(CBouquetAssociationStream* target) const
{
    if (target == nullptr || target == this)
        return;
    static_cast<CTransportStreamEntry&>(*target) = *this;
    transport_descriptors.copyTo(target->transport_descriptors);
    target->transport_descriptors_length =
        static_cast<std::uint16_t>(target->transport_descriptors.getSize() + transport_stream_length);
}
} // namespace mpegcore
