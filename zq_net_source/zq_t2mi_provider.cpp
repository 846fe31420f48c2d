// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zq_net_source/zq_t2mi_provider.h"

zq_t2mi_provider::zq_t2mi_provider(zq_net_pad& pad, std::shared_ptr<GstBufferPool> pool, zq_net_statistics& statistics,
                                   std::uint8_t plp)
    : zq_data_provider{pad, std::move(pool), statistics}, CT2MIToTS{true}, m_plp{plp}
{
    SetPLPID(plp);
    collect_units(false);
    only_read_adaptation_fields();
}

bool zq_t2mi_provider::push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size, bool)
{
    m_timestamp = timestamp;
    Process(data, size);
    return true;
}

void zq_t2mi_provider::OnTS(unsigned char plp_id, unsigned char* data, unsigned long size)
{
    // The decapsulator chose by PLP already; checked again on purpose.
    if (plp_id == m_plp)
        zq_data_provider::push_data(m_timestamp, data, size, false);
}
