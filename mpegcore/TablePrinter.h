// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegTable.h"
#include "mpegcore/base_descriptor.h"
#include "mpegcore/text/DVBText.h"

#include <memory>
#include <string>

namespace mpegcore
{
class local_time_offset_descriptor;

/// A region and what tells its local time.
struct LocalTime
{
    std::string country_code;       ///< 3 letters, in any case
    unsigned country_region_id = 0; ///< 0: a country without zones
    /// Of the TOT. Null, or one that does not tell of the region: not known.
    std::shared_ptr<const local_time_offset_descriptor> offsets;
};

/// How tables and descriptors are printed.
struct PrintOptions
{
    /// The character table of texts that choose none.
    TextTable unmarked = TextTable::iso_6937;
    /// Times are printed in this local time; in UTC where it is not known.
    LocalTime local_time = {};
};

// JSON. One object in one line, without the line break, valid and in UTF-8 whatever the object holds. Its keys are the
// standards' field names, in stream order and each once: of names that repeat in a structure the second gets a "2"
// behind it, and so on.
//  - A number is a number, exact up to 64 bits. Where the standard gives its value a meaning, that follows under the
//  key
//    with "_name" behind it.
//  - A text is a string. When that has other bytes than were transmitted, these follow in hex under the key with
//  "_raw".
//    Codes, such as those of languages, are strings.
//  - Opaque bytes are a string of hex digits. So is the body of a descriptor without a class of its own: "payload".
//  - A time is ISO 8601, as "2026-11-21T20:15:00Z", or "2026-11-21T21:15:00+01:00" in local time, and so is a duration,
//  as "PT1H30M". One that is undefined or has
//    other than decimal digits is null, and its bits follow in hex under the key with "_raw".
//  - A loop is an array of objects.

/// Appends to `line`, which may hold anything.
void append_json(std::string& line, const CBaseMpegTable& table, const PrintOptions& options = {});
void append_json(std::string& line, const base_descriptor& descriptor, const PrintOptions& options = {});
[[nodiscard]] std::string to_json(const CBaseMpegTable& table, const PrintOptions& options = {});
[[nodiscard]] std::string to_json(const base_descriptor& descriptor, const PrintOptions& options = {});

// Text to read: one field a line, loops indented, without the reserved bits; each line ends in a line break, and no
// other control character occurs.

/// Appends to `text`; each line starts with `indent` spaces.
void append_text(std::string& text, const CBaseMpegTable& table, unsigned indent = 0, const PrintOptions& options = {});
void append_text(std::string& text, const base_descriptor& descriptor, unsigned indent = 0,
                 const PrintOptions& options = {});
[[nodiscard]] std::string to_text(const CBaseMpegTable& table, const PrintOptions& options = {});
[[nodiscard]] std::string to_text(const base_descriptor& descriptor, const PrintOptions& options = {});
} // namespace mpegcore
