// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <cstddef>

namespace zqtest
{
/// Calls of operator new, of any thread, since the program began. Linking AllocationCounter.cpp replaces the operator.
std::size_t allocations();
} // namespace zqtest
