// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/DescriptorTable.h"

namespace mpegcore
{
/// Transport stream description section (ISO/IEC 13818-1, 2.4.4.12).
class CTSDT : public CDescriptorTable
{
public:
    using CDescriptorTable::CDescriptorTable;

    void copyTo(CTSDT* target) const { CDescriptorTable::copyTo(target); }
};
} // namespace mpegcore
