// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// Frequencies of the cells of a network: ETSI EN 300 468, 6.2.6.
class cell_frequency_link_descriptor : public standard_descriptor<cell_frequency_link_descriptor, 0x6D>
{
public:
    struct subcell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(8, "cell_id_extension", d.cell_id_extension) &&
                   io.bits(32, "transposer_frequency", d.transposer_frequency);
        }

        std::uint8_t cell_id_extension = 0;
        /// Units of 10 Hz.
        std::uint32_t transposer_frequency = 0;
    };

    struct cell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "cell_id", d.cell_id) && io.bits(32, "frequency", d.frequency) &&
                   io.bits(8, "subcell_info_loop_length", d.subcell_info_loop_length) &&
                   io.exactly(d.subcell_info_loop_length, [&] { return io.entries(5, "subcells", d.subcells); });
        }

        std::uint16_t cell_id = 0;
        /// Units of 10 Hz.
        std::uint32_t frequency = 0;
        /// Bytes that the entries behind it take.
        std::uint8_t subcell_info_loop_length = 0;
        std::vector<subcell> subcells;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entries(7, "cells", d.cells);
    }

    std::vector<cell> cells;
};
} // namespace mpegcore
