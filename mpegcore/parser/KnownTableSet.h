// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/parser/KnownTables.h"
#include "mpegcore/parser/TableRegistry.h"

namespace mpegcore
{
/// The known tables of one entry of the registry.
template <class Entry>
struct KnownTablesOf : KnownTables<typename Entry::Table>
{
    explicit KnownTablesOf(CBaseMpegParser& parser)
        : KnownTables<typename Entry::Table>(parser.*Entry::wrapper, Entry::known_limit)
    {}
};

/// The known tables of all entries.
template <class... Entries>
class KnownTableSet : private KnownTablesOf<Entries>...
{
public:
    explicit KnownTableSet(CBaseMpegParser& parser) : KnownTablesOf<Entries>(parser)... {}

    template <class Entry>
    KnownTablesOf<Entry>& of()
    {
        return *this;
    }
};
} // namespace mpegcore
