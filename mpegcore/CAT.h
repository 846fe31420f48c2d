// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/DescriptorTable.h"

namespace mpegcore
{
/// Conditional access section (ISO/IEC 13818-1, 2.4.4.6).
class CCAT : public CDescriptorTable
{
public:
    using CDescriptorTable::CDescriptorTable;

    void copyTo(CCAT* target) const { CDescriptorTable::copyTo(target); }
};
} // namespace mpegcore
