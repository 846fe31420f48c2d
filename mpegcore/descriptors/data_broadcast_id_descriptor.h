// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Kind of data that a stream carries: ETSI EN 300 468, 6.2.12.
class data_broadcast_id_descriptor : public standard_descriptor<data_broadcast_id_descriptor, 0x66>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(16, "data_broadcast_id", d.data_broadcast_id) && io.rest("id_selector_byte", d.id_selector_byte);
    }

    std::uint16_t data_broadcast_id = 0;
    /// Its structure depends on data_broadcast_id.
    std::vector<unsigned char> id_selector_byte;
};
} // namespace mpegcore
