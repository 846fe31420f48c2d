// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/sanitizers.h"

namespace zqtest
{
/// How often a test tries: `count` times, a tenth of it where that takes ten times as long, under AddressSanitizer and
/// in tests for another machine, which may run in an emulator.
constexpr unsigned rounds(unsigned count) { return address_sanitizer || ZQ_FOREIGN ? count / 10 : count; }
/// The step through all the cases of a test: 1, and `wide`, where rounds() makes fewer.
constexpr unsigned stride(unsigned wide) { return address_sanitizer || ZQ_FOREIGN ? wide : 1; }
} // namespace zqtest
