// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/SDT.h"

#include "mpegcore/syntax/SectionTableSyntax.h"

namespace mpegcore
{
namespace
{
constexpr std::uint32_t SDT_fixed_length = 12;
constexpr std::uint32_t service_length = 5;
} // namespace

void CServiceDescriptionSection::copyTo(CServiceDescriptionSection* target) const
{
    if (target == nullptr || target == this)
        return;
    copy_fields(*this, *target);
}

template <class Self, class Io>
bool CSDT::syntax(Self& t, Io& io)
{
    return io.bits(16, "transport_stream_id", t.transport_stream_id) && io.bits(2, "reserved", t.reserved) &&
           version_and_sections(t, io) && io.bits(16, "original_network_id", t.original_network_id) &&
           io.bits(8, "reserved_future_use", t.reserved_future_use) &&
           io.keyed_loop(service_length, "services", t.services, &CServiceDescriptionSection::service_id);
}

template class CSectionTable<CSDT>;

void CSDT::Clear()
{
    services.clear();
    CBaseMpegTable::Clear();
}

std::uint32_t CSDT::calc_section_length() const
{
    std::uint32_t length = SDT_fixed_length;
    for (const auto& service : services)
        if (service.second)
            length += service_length + service.second->descriptors.getSize();
    return length;
}
} // namespace mpegcore
