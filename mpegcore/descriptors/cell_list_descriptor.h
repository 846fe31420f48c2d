// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Where the cells of a network are: ETSI EN 300 468, 6.2.7.
class cell_list_descriptor : public standard_descriptor<cell_list_descriptor, 0x6C>
{
public:
    struct subcell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "cell_id_extension", d.cell_id_extension) &&
                   io.bits(16, "subcell_latitude", d.subcell_latitude) &&
                   io.bits(16, "subcell_longitude", d.subcell_longitude) &&
                   io.bits(12, "subcell_extent_of_latitude", d.subcell_extent_of_latitude) &&
                   io.bits(12, "subcell_extent_of_longitude", d.subcell_extent_of_longitude);
        }

        std::uint8_t cell_id_extension = 0;
        std::uint16_t subcell_latitude = 0;
        std::uint16_t subcell_longitude = 0;
        std::uint16_t subcell_extent_of_latitude = 0;
        std::uint16_t subcell_extent_of_longitude = 0;
    };

    struct cell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "cell_id", d.cell_id) && io.bits(16, "cell_latitude", d.cell_latitude) &&
                   io.bits(16, "cell_longitude", d.cell_longitude) &&
                   io.bits(12, "cell_extent_of_latitude", d.cell_extent_of_latitude) &&
                   io.bits(12, "cell_extent_of_longitude", d.cell_extent_of_longitude) &&
                   io.bits(8, "subcell_info_loop_length", d.subcell_info_loop_length) &&
                   io.exactly(d.subcell_info_loop_length, [&] { return io.entries(8, "subcells", d.subcells); });
        }

        std::uint16_t cell_id = 0;
        /// South-western corner, two's complement: units of 90 degrees / 2^15.
        std::uint16_t cell_latitude = 0;
        /// Two's complement: units of 180 degrees / 2^15.
        std::uint16_t cell_longitude = 0;
        /// Unsigned, in the units of the corner.
        std::uint16_t cell_extent_of_latitude = 0;
        std::uint16_t cell_extent_of_longitude = 0;
        /// Bytes that the entries behind it take.
        std::uint8_t subcell_info_loop_length = 0;
        std::vector<subcell> subcells;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(10, "cells", d.cells);
    }

    std::vector<cell> cells;
};
} // namespace mpegcore
