// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/text/DVBText.h"
#include "mpegcore/zqdescriptorlist.h"

#include <string>
#include <vector>

namespace mpegcore
{
/// The long description of an event in one language, which takes up to 16 extended_event_descriptors
/// (ETSI EN 300 468, 6.2.15). All texts are UTF-8.
struct ExtendedEvent
{
    struct Item
    {
        std::string description;
        std::string text;
    };

    std::string ISO_639_language_code;
    /// Of all descriptors in a row. An item without a description, at the start of a descriptor behind the first,
    /// goes on with the item before it.
    std::vector<Item> items;
    std::string text;
    bool complete = false; ///< whether each descriptor from 0 to last_descriptor_number was there
};

/// Joins the extended event descriptors of an event by language, in the order in which the languages first occur. The
/// descriptors may come in any order; of two with one number the first counts. `unmarked` as for to_utf8().
[[nodiscard]] std::vector<ExtendedEvent> join_extended_events(const ZQDescriptorList& descriptors,
                                                              TextTable unmarked = TextTable::iso_6937);
} // namespace mpegcore
