// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/AIT.h"
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/DIT.h"
#include "mpegcore/RST.h"
#include "mpegcore/SIT.h"
#include "mpegcore/SpliceInfoSection.h"

#include <cstddef>
#include <type_traits>

namespace mpegcore
{
/// How a receiver finds the sections of a table.
enum class TableSource
{
    PID,         ///< on a PID of its own
    PAT,         ///< on the PID that the PAT gives a program
    stream_type, ///< on the PID of a stream of this type in the program map
};

/// One table: its class, where its sections are (`Place` is the PID or the stream_type) and their table_ids, both ends
/// included.
template <class TableClass, TableSource Source, unsigned short Place, unsigned char First, unsigned char Last>
struct TableEntry
{
    using Table = TableClass;

    static constexpr TableSource source = Source;
    static constexpr unsigned short place = Place;
    static constexpr unsigned char first_table_id = First;
    static constexpr unsigned char last_table_id = Last;
    /// Whether the parser keeps the table and calls back with it by what its entry says.
    static constexpr bool is_parsed = false;
};

template <class Member>
struct TableOfWrapper;
template <class T>
struct TableOfWrapper<CPacketWrapper<T> CBaseMpegParser::*>
{
    using type = T;
};

/// A table of the parser: beside its PID and table_ids the member of CBaseMpegParser that it is read into and the one
/// that is called with it. `KnownLimit` are the bytes for tables whose sections come again and again; 0: each is read
/// anew.
template <unsigned short TablePID, unsigned char First, unsigned char Last, auto Wrapper, auto Callback,
          std::size_t KnownLimit = CBaseMpegParser::known_tables_limit>
struct ParsedTable
    : TableEntry<typename TableOfWrapper<decltype(Wrapper)>::type, TableSource::PID, TablePID, First, Last>
{
    static constexpr bool is_parsed = true;
    static constexpr unsigned short PID = TablePID;
    static constexpr auto wrapper = Wrapper;
    static constexpr auto callback = Callback;
    static constexpr std::size_t known_limit = KnownLimit;
    /// PIDs of one table are not asked for the table_id.
    static constexpr bool is_any_table_id_read = TablePID <= 0x0002;
    /// False for a class that reads its fields whatever section_length says.
    static constexpr bool needs_announced_length = !std::is_same_v<typename ParsedTable::Table, CTDT>;
};

/// Every table, as a List of entries; first those with a PID, ascending by it, then those that other tables lead to.
/// All that is done for every table walks this list, or what is made of it below.
template <template <class...> class List>
using tables =
    List<ParsedTable<0x0000, 0x00, 0x00, &CBaseMpegParser::m_PAT, &CBaseMpegParser::OnPAT>,
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
         TableEntry<CRST, TableSource::PID, 0x0013, 0x71, 0x71>,
         ParsedTable<0x0014, 0x70, 0x70, &CBaseMpegParser::m_TDT, &CBaseMpegParser::OnTDT, 0>,
         ParsedTable<0x0014, 0x73, 0x73, &CBaseMpegParser::m_TOT, &CBaseMpegParser::OnTOT, 0>,
         TableEntry<CDIT, TableSource::PID, 0x001E, 0x7E, 0x7E>, TableEntry<CSIT, TableSource::PID, 0x001F, 0x7F, 0x7F>,
         TableEntry<CPMT, TableSource::PAT, 0, 0x02, 0x02>,
         TableEntry<CAIT, TableSource::stream_type, 0x05, 0x74, 0x74>,
         TableEntry<CSpliceInfoSection, TableSource::stream_type, 0x86, 0xFC, 0xFC>>;

template <class... Types>
struct TypeList
{
    template <class Type>
    using with = TypeList<Types..., Type>;
    template <class Type>
    using with_new = std::conditional_t<(std::is_same_v<Type, Types> || ...), TypeList, with<Type>>;
    template <template <class...> class List>
    using as = List<Types...>;
};

template <class Parsed, class Classes, class... Entries>
struct TablesSorted
{
    using parsed = Parsed;
    using classes = Classes;
};
template <class Parsed, class Classes, class Entry, class... Rest>
struct TablesSorted<Parsed, Classes, Entry, Rest...>
    : TablesSorted<std::conditional_t<Entry::is_parsed, typename Parsed::template with<Entry>, Parsed>,
                   typename Classes::template with_new<typename Entry::Table>, Rest...>
{};
template <class... Entries>
using tables_sorted = TablesSorted<TypeList<>, TypeList<>, Entries...>;

/// The tables that the parser keeps and calls back with, as a List of ParsedTable; the PMTs, which need more, are none.
template <template <class...> class List>
using parsed_tables = typename tables<tables_sorted>::parsed::template as<List>;

/// The classes of all tables, each once, as a List.
template <template <class...> class List>
using table_classes = typename tables<tables_sorted>::classes::template as<List>;

/// Where the sections of all tables are.
template <class... Entries>
struct TablePlaces
{
    /// Calls `visit(PID)` for each table with a PID of its own; tables may share one.
    template <class Visit>
    static void for_each_PID(Visit visit)
    {
        const auto visit_entry = [&visit](TableSource source, unsigned short place) {
            if (source == TableSource::PID)
                visit(place);
        };
        (visit_entry(Entries::source, Entries::place), ...);
    }

    /// Whether streams of this type may carry the sections of a table.
    static constexpr bool has_stream_type(unsigned char stream_type)
    {
        return ((Entries::source == TableSource::stream_type && Entries::place == stream_type) || ...);
    }
};
using table_places = tables<TablePlaces>;
} // namespace mpegcore
