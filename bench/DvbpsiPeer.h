// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
// In this order: the library's headers need each other.
// clang-format off
#include <cstdint>
#include <sys/types.h>
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/pat.h>
#include <dvbpsi/pmt.h>
#include <dvbpsi/cat.h>
#include <dvbpsi/nit.h>
#include <dvbpsi/sdt.h>
#include <dvbpsi/bat.h>
#include <dvbpsi/eit.h>
#include <dvbpsi/tot.h>
// clang-format on

#include <array>
#include <cstddef>

namespace zqbench
{
/// libdvbpsi with a decoder for every table it knows: PAT, CAT, the PMTs of the PAT, NIT, SDT, BAT, EIT, TDT and TOT.
class DvbpsiPeer
{
public:
    DvbpsiPeer()
    {
        dvbpsi_pat_attach(open(0x0000), on_PAT, this);
        dvbpsi_cat_attach(open(0x0001), on<dvbpsi_cat_t, dvbpsi_cat_delete>, this);
        for (const unsigned PID : {0x0010U, 0x0011U, 0x0012U, 0x0014U})
            dvbpsi_AttachDemux(open(PID), on_new_table, this);
    }
    DvbpsiPeer(const DvbpsiPeer&) = delete;
    DvbpsiPeer& operator=(const DvbpsiPeer&) = delete;

    void push(unsigned char* packet)
    {
        const unsigned PID = (packet[1] & 0x1FU) << 8 | packet[2];
        if (m_handles[PID] != nullptr)
            dvbpsi_packet_push(m_handles[PID], packet);
    }

    std::size_t tables = 0;
    std::size_t events = 0;

private:
    dvbpsi_t* open(unsigned PID) { return m_handles[PID] = dvbpsi_new(nullptr, DVBPSI_MSG_NONE); }

    template <class Table, void (*Delete)(Table*)>
    static void on(void* opaque, Table* table)
    {
        ++static_cast<DvbpsiPeer*>(opaque)->tables;
        Delete(table);
    }

    static void on_EIT(void* opaque, dvbpsi_eit_t* table)
    {
        auto& peer = *static_cast<DvbpsiPeer*>(opaque);
        for (const auto* event = table->p_first_event; event != nullptr; event = event->p_next)
            ++peer.events;
        on<dvbpsi_eit_t, dvbpsi_eit_delete>(opaque, table);
    }

    static void on_PAT(void* opaque, dvbpsi_pat_t* table)
    {
        auto& peer = *static_cast<DvbpsiPeer*>(opaque);
        for (const auto* program = table->p_first_program; program != nullptr; program = program->p_next)
            if (program->i_number != 0 && peer.m_handles[program->i_pid] == nullptr)
                dvbpsi_pmt_attach(peer.open(program->i_pid), program->i_number, on<dvbpsi_pmt_t, dvbpsi_pmt_delete>,
                                  opaque);
        on<dvbpsi_pat_t, dvbpsi_pat_delete>(opaque, table);
    }

    static void on_new_table(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* opaque)
    {
        if (table_id == 0x40 || table_id == 0x41)
            dvbpsi_nit_attach(handle, table_id, extension, on<dvbpsi_nit_t, dvbpsi_nit_delete>, opaque);
        else if (table_id == 0x42 || table_id == 0x46)
            dvbpsi_sdt_attach(handle, table_id, extension, on<dvbpsi_sdt_t, dvbpsi_sdt_delete>, opaque);
        else if (table_id == 0x4A)
            dvbpsi_bat_attach(handle, table_id, extension, on<dvbpsi_bat_t, dvbpsi_bat_delete>, opaque);
        else if (table_id >= 0x4E && table_id <= 0x6F)
            dvbpsi_eit_attach(handle, table_id, extension, on_EIT, opaque);
        else if (table_id == 0x70 || table_id == 0x73)
            dvbpsi_tot_attach(handle, table_id, extension, on<dvbpsi_tot_t, dvbpsi_tot_delete>, opaque);
    }

    // Left to the end of the program, as they are: the library takes its decoders down one by one.
    std::array<dvbpsi_t*, 8192> m_handles{};
};
} // namespace zqbench
