// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"

#include <cstddef>
#include <type_traits>

namespace mpegcore
{
/// The table_ids, both ends included, of one table.
struct TableIds
{
    unsigned char first;
    unsigned char last;
};

template <class Member>
struct TableOfWrapper;
template <class T>
struct TableOfWrapper<CPacketWrapper<T> CBaseMpegParser::*>
{
    using type = T;
};

/// One table of the parser: its PID and table_ids, the member of CBaseMpegParser that it is read into and the one that
/// is called with it. `KnownLimit` are the bytes for tables whose sections come again and again; 0: each is read anew.
template <unsigned short TablePID, unsigned char First, unsigned char Last, auto Wrapper, auto Callback,
          std::size_t KnownLimit = CBaseMpegParser::known_tables_limit>
struct ParsedTable
{
    using Table = typename TableOfWrapper<decltype(Wrapper)>::type;

    static constexpr unsigned short PID = TablePID;
    static constexpr unsigned char first_table_id = First;
    static constexpr unsigned char last_table_id = Last;
    static constexpr auto wrapper = Wrapper;
    static constexpr auto callback = Callback;
    static constexpr std::size_t known_limit = KnownLimit;
    /// PIDs of one table are not asked for the table_id.
    static constexpr bool is_any_table_id_read = TablePID <= 0x0002;
    /// False for a class that reads its fields whatever section_length says.
    static constexpr bool needs_announced_length = !std::is_same_v<Table, CTDT>;
};

/// Every table with a PID of its own, ascending by PID, as a List of ParsedTable. All that is done for every table
/// walks this list. (A PMT is on the PID that the PAT says.)
template <template <class...> class List>
using parsed_tables = List<ParsedTable<0x0000, 0x00, 0x00, &CBaseMpegParser::m_PAT, &CBaseMpegParser::OnPAT>,
                           ParsedTable<0x0001, 0x01, 0x01, &CBaseMpegParser::m_CAT, &CBaseMpegParser::OnCAT>,
                           ParsedTable<0x0002, 0x03, 0x03, &CBaseMpegParser::m_TSDT, &CBaseMpegParser::OnTSDT>,
                           ParsedTable<0x0010, 0x40, 0x40, &CBaseMpegParser::m_NITActual, &CBaseMpegParser::OnNIT>,
                           ParsedTable<0x0010, 0x41, 0x41, &CBaseMpegParser::m_NITOther, &CBaseMpegParser::OnNIT>,
                           ParsedTable<0x0011, 0x42, 0x42, &CBaseMpegParser::m_SDTActual, &CBaseMpegParser::OnSDT>,
                           ParsedTable<0x0011, 0x46, 0x46, &CBaseMpegParser::m_SDTOther, &CBaseMpegParser::OnSDT>,
                           ParsedTable<0x0011, 0x4A, 0x4A, &CBaseMpegParser::m_BAT, &CBaseMpegParser::OnBAT>,
                           ParsedTable<0x0012, 0x4E, 0x4E, &CBaseMpegParser::m_EITpfActual, &CBaseMpegParser::OnEIT>,
                           ParsedTable<0x0012, 0x4F, 0x4F, &CBaseMpegParser::m_EITpfOther, &CBaseMpegParser::OnEIT>,
                           ParsedTable<0x0012, 0x50, 0x5F, &CBaseMpegParser::m_EITschActual, &CBaseMpegParser::OnEIT,
                                       CBaseMpegParser::known_schedule_limit>,
                           ParsedTable<0x0012, 0x60, 0x6F, &CBaseMpegParser::m_EITschOther, &CBaseMpegParser::OnEIT,
                                       CBaseMpegParser::known_schedule_limit>,
                           ParsedTable<0x0014, 0x70, 0x70, &CBaseMpegParser::m_TDT, &CBaseMpegParser::OnTDT, 0>,
                           ParsedTable<0x0014, 0x73, 0x73, &CBaseMpegParser::m_TOT, &CBaseMpegParser::OnTOT, 0>>;
} // namespace mpegcore
