// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/DVBT2Timestamp.h"
#include "mpegcore/t2mi/L1Current.h"
#include "mpegcore/t2mi/T2MIHeader.h"

#include <string>

namespace mpegcore
{
/// The records of T2-MI in the forms that TablePrinter.h describes. Texts end in a line break, and each line starts
/// with `indent` spaces.
[[nodiscard]] std::string to_json(const T2MIHeader& header);
[[nodiscard]] std::string to_json(const DVBT2Timestamp& timestamp);
[[nodiscard]] std::string to_json(const L1Current& L1);
[[nodiscard]] std::string to_text(const T2MIHeader& header, unsigned indent = 0);
[[nodiscard]] std::string to_text(const DVBT2Timestamp& timestamp, unsigned indent = 0);
[[nodiscard]] std::string to_text(const L1Current& L1, unsigned indent = 0);
} // namespace mpegcore
