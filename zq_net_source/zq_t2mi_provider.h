// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/T2MIToTS.h"
#include "zq_net_source/zq_data_provider.h"

/// Takes the datagrams for pieces of a transport stream that carries T2-MI and delivers the packets of one PLP, each
/// behind a sync byte. A packet carries the time of the datagram that completed it. Other PLPs, and a stream without
/// T2-MI, give no buffers and no error.
class zq_t2mi_provider : public zq_data_provider, private mpegcore::CT2MIToTS
{
public:
    /// `plp` is the PLP's id as it stands in the baseband frames.
    zq_t2mi_provider(zq_net_pad& pad, std::shared_ptr<GstBufferPool> pool, zq_net_statistics& statistics,
                     std::uint8_t plp);

    /// Always true; `whole` does not matter.
    bool push_data(std::uint64_t timestamp, unsigned char* data, std::uint64_t size, bool whole) override;

    void OnTS(unsigned char plp_id, unsigned char* data, unsigned long size) override;

private:
    std::uint64_t m_timestamp = 0;
    std::uint8_t m_plp;
};
