// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/NIT.h"

#include "mpegcore/syntax/TransportStreamTableSyntax.h"

namespace mpegcore
{
template class CSectionTable<CNIT>;
template class CTransportStreamTable<CNIT, CBaseTransportStream>;

void CBaseTransportStream::copyTo(CBaseTransportStream* target) const
{
    if (target == nullptr || target == this)
        return;
    static_cast<CTransportStreamEntry&>(*target) = *this;
    target->transport_descriptors_length =
        static_cast<std::uint16_t>(replace_descriptors(descriptors, target->descriptors));
}
} // namespace mpegcore
