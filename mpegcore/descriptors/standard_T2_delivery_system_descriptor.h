// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// DVB-T2 delivery system with its cells, and in the short form too: ETSI EN 300 468, 6.4.6.3. The class
/// T2_delivery_system_descriptor beside it reads only the fixed fields.
class standard_T2_delivery_system_descriptor : public standard_extension<standard_T2_delivery_system_descriptor, 0x04>
{
public:
    struct frequency
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(32, "centre_frequency", d.centre_frequency);
        }

        /// Units of 10 Hz.
        std::uint32_t centre_frequency = 0;
    };

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

    /// A cell when tfs_flag is 0.
    struct cell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "cell_id", d.cell_id) && io.bits(32, "centre_frequency", d.centre_frequency) &&
                   io.bits(8, "subcell_info_loop_length", d.subcell_info_loop_length) &&
                   io.exactly(d.subcell_info_loop_length, [&] { return io.entries(5, "subcells", d.subcells); });
        }

        std::uint16_t cell_id = 0;
        /// Units of 10 Hz.
        std::uint32_t centre_frequency = 0;
        /// Bytes that the entries behind it take.
        std::uint8_t subcell_info_loop_length = 0;
        std::vector<subcell> subcells;
    };

    /// A cell when tfs_flag is 1.
    struct tfs_cell
    {
        template <class Self, class Io>
        static bool syntax(Self& d, Io& io)
        {
            return io.bits(16, "cell_id", d.cell_id) && io.bits(8, "frequency_loop_length", d.frequency_loop_length) &&
                   io.exactly(d.frequency_loop_length, [&] { return io.entries(4, "frequencies", d.frequencies); }) &&
                   io.bits(8, "subcell_info_loop_length", d.subcell_info_loop_length) &&
                   io.exactly(d.subcell_info_loop_length, [&] { return io.entries(5, "subcells", d.subcells); });
        }

        std::uint16_t cell_id = 0;
        /// Bytes that the entries behind it take.
        std::uint8_t frequency_loop_length = 0;
        std::vector<frequency> frequencies;
        /// Bytes that the entries behind it take.
        std::uint8_t subcell_info_loop_length = 0;
        std::vector<subcell> subcells;
    };

    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) && io.bits(8, "plp_id", d.plp_id) &&
               io.bits(16, "T2_system_id", d.T2_system_id) &&
               (io.body_left() == 0 ||
                (io.bits(2, "SISO_MISO", d.SISO_MISO) && io.bits(4, "bandwidth", d.bandwidth) &&
                 io.bits(2, "reserved_future_use", d.reserved_future_use) &&
                 io.bits(3, "guard_interval", d.guard_interval) &&
                 io.bits(3, "transmission_mode", d.transmission_mode) &&
                 io.bits(1, "other_frequency_flag", d.other_frequency_flag) && io.bits(1, "tfs_flag", d.tfs_flag) &&
                 (d.tfs_flag == 0 ? io.entries(7, "cells", d.cells) : io.entries(4, "cells", d.tfs_cells))));
    }

    std::uint8_t descriptor_tag_extension = 0;
    std::uint8_t plp_id = 0;
    std::uint16_t T2_system_id = 0;
    /// This and the rest only when the body goes on behind T2_system_id.
    std::uint8_t SISO_MISO = 0;
    std::uint8_t bandwidth = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t guard_interval = 0;
    std::uint8_t transmission_mode = 0;
    std::uint8_t other_frequency_flag = 0;
    std::uint8_t tfs_flag = 0;
    /// When tfs_flag is 0.
    std::vector<cell> cells;
    /// When tfs_flag is 1.
    std::vector<tfs_cell> tfs_cells;
};
} // namespace mpegcore
