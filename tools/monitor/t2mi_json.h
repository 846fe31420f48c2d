// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/json_writer.h"
#include "tools/monitor/snapshot.h"

namespace monitor
{
/// The members "t2mi", null without a T2-MI stream, and "plps".
void write_T2MI(json_writer& json, const snapshot& seen);
} // namespace monitor
