// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the delivery systems and cells of ETSI EN 300 468 that only the standard dictionary has.
#include "support/descriptor_loops.h"

namespace standard_delivery_systems_test
{
using namespace mpegcore;
using namespace zqtest;

TEST(SatelliteDeliverySystemDescriptor, KeepsACarrierOfDvbS2)
{
    // 11.72750 GHz, 19.2 degrees east, circular left, roll-off 0.25, DVB-S2 8PSK, 29.9 Msymbol/s, 9/10.
    const auto d = golden_standard<satellite_delivery_system_descriptor>(
        {0x43, 0x0B, 0x01, 0x17, 0x27, 0x50, 0x01, 0x92, 0xCE, 0x02, 0x99, 0x00, 0x09});
    EXPECT_EQ(d->frequency, 0x01172750U);
    EXPECT_EQ(d->orbital_position, 0x0192);
    EXPECT_EQ(d->west_east_flag, 1);
    EXPECT_EQ(d->polarization, 2);
    EXPECT_EQ(d->roll_off, 1);
    EXPECT_EQ(d->modulation_system, 1);
    EXPECT_EQ(d->modulation_type, 2);
    EXPECT_EQ(d->symbol_rate, 0x0299000U);
    EXPECT_EQ(d->FEC_inner, 9);
}

TEST(CableDeliverySystemDescriptor, KeepsItsChannel)
{
    // 394 MHz, RS(204/188), 256QAM, 6.9 Msymbol/s, no inner code.
    const auto d = golden_standard<cable_delivery_system_descriptor>(
        {0x44, 0x0B, 0x03, 0x94, 0x00, 0x00, 0xFF, 0xF2, 0x05, 0x00, 0x69, 0x00, 0x0F});
    EXPECT_EQ(d->frequency, 0x03940000U);
    EXPECT_EQ(d->reserved_future_use, 0xFFF);
    EXPECT_EQ(d->FEC_outer, 2);
    EXPECT_EQ(d->modulation, 5);
    EXPECT_EQ(d->symbol_rate, 0x0069000U);
    EXPECT_EQ(d->FEC_inner, 15);
}

TEST(TerrestrialDeliverySystemDescriptor, KeepsItsChannel)
{
    // 498 MHz, 8 MHz wide, high priority, neither slices nor MPE-FEC, 64QAM, 2/3 and 1/2, 1/4, 8k.
    const auto d = golden_standard<terrestrial_delivery_system_descriptor>(
        {0x5A, 0x0B, 0x02, 0xF7, 0xE3, 0x40, 0x1F, 0x81, 0x1A, 0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(d->centre_frequency, 49800000U);
    EXPECT_EQ(d->bandwidth, 0);
    EXPECT_EQ(d->priority, 1);
    EXPECT_EQ(d->Time_Slicing_indicator, 1);
    EXPECT_EQ(d->MPE_FEC_indicator, 1);
    EXPECT_EQ(d->reserved_future_use, 3);
    EXPECT_EQ(d->constellation, 2);
    EXPECT_EQ(d->hierarchy_information, 0);
    EXPECT_EQ(d->code_rate_HP_stream, 1);
    EXPECT_EQ(d->code_rate_LP_stream, 0);
    EXPECT_EQ(d->guard_interval, 3);
    EXPECT_EQ(d->transmission_mode, 1);
    EXPECT_EQ(d->other_frequency_flag, 0);
    EXPECT_EQ(d->reserved_future_use2, 0xFFFFFFFFU);
}

TEST(S2SatelliteDeliverySystemDescriptor, KeepsWhatItsFlagsAnnounce)
{
    const auto d =
        golden_standard<S2_satellite_delivery_system_descriptor>({0x79, 0x06, 0xCE, 0xFE, 0xAB, 0xCD, 0x11, 0x22});
    EXPECT_EQ(d->scrambling_sequence_selector, 1);
    EXPECT_EQ(d->multiple_input_stream_flag, 1);
    EXPECT_EQ(d->reserved_zero_future_use, 0);
    EXPECT_EQ(d->not_timeslice_flag, 0);
    EXPECT_EQ(d->reserved_future_use, 3);
    EXPECT_EQ(d->TS_GS_mode, 2);
    EXPECT_EQ(d->reserved_future_use2, 0x3F);
    EXPECT_EQ(d->scrambling_sequence_index, 0x2ABCDU);
    EXPECT_EQ(d->input_stream_identifier, 0x11);
    EXPECT_EQ(d->timeslice_number, 0x22);
}

TEST(S2SatelliteDeliverySystemDescriptor, IsOneByteWithoutThem)
{
    const auto d = golden_standard<S2_satellite_delivery_system_descriptor>({0x79, 0x01, 0x1F});
    EXPECT_EQ(d->not_timeslice_flag, 1);
    EXPECT_EQ(d->TS_GS_mode, 3);
}

TEST(StandardT2DeliverySystemDescriptor, KeepsTheShortForm)
{
    const auto d = golden_standard<standard_T2_delivery_system_descriptor>({0x7F, 0x04, 0x04, 0x01, 0x80, 0x02});
    EXPECT_EQ(d->descriptor_tag_extension, 4);
    EXPECT_EQ(d->plp_id, 1);
    EXPECT_EQ(d->T2_system_id, 0x8002);
    EXPECT_TRUE(d->cells.empty());
}

TEST(StandardT2DeliverySystemDescriptor, KeepsCellsOfOneFrequency)
{
    // SISO, 8 MHz, 1/128, 32k, no time-frequency slicing; a cell at 498 MHz with a subcell and one without.
    const auto d = golden_standard<standard_T2_delivery_system_descriptor>(
        Bytes{0x7F, 0x19, 0x04, 0x00, 0x00, 0x01, 0x03, 0x94} +
        Bytes{0x00, 0x63, 0x02, 0xF7, 0xE3, 0x40, 0x05, 0x07, 0x03, 0x19, 0x75, 0x00} +
        Bytes{0x00, 0x64, 0x03, 0x03, 0x03, 0x03, 0x00});
    EXPECT_EQ(d->SISO_MISO, 0);
    EXPECT_EQ(d->bandwidth, 0);
    EXPECT_EQ(d->reserved_future_use, 3);
    EXPECT_EQ(d->guard_interval, 4);
    EXPECT_EQ(d->transmission_mode, 5);
    EXPECT_EQ(d->other_frequency_flag, 0);
    EXPECT_EQ(d->tfs_flag, 0);
    ASSERT_EQ(d->cells.size(), 2U);
    EXPECT_EQ(d->cells[0].cell_id, 0x63);
    EXPECT_EQ(d->cells[0].centre_frequency, 49800000U);
    ASSERT_EQ(d->cells[0].subcells.size(), 1U);
    EXPECT_EQ(d->cells[0].subcells[0].cell_id_extension, 7);
    EXPECT_EQ(d->cells[0].subcells[0].transposer_frequency, 0x03197500U);
    EXPECT_EQ(d->cells[1].cell_id, 0x64);
    EXPECT_TRUE(d->cells[1].subcells.empty());
    EXPECT_TRUE(d->tfs_cells.empty());
}

TEST(StandardT2DeliverySystemDescriptor, KeepsCellsOfSeveralFrequencies)
{
    const auto d = golden_standard<standard_T2_delivery_system_descriptor>(
        Bytes{0x7F, 0x12, 0x04, 0x02, 0x00, 0x03, 0x13, 0x03} +
        Bytes{0x01, 0x02, 0x08, 0x00, 0x00, 0x00, 0x0A, 0x00, 0x00, 0x00, 0x0B, 0x00});
    EXPECT_EQ(d->bandwidth, 4);
    EXPECT_EQ(d->other_frequency_flag, 1);
    EXPECT_EQ(d->tfs_flag, 1);
    ASSERT_EQ(d->tfs_cells.size(), 1U);
    EXPECT_EQ(d->tfs_cells[0].cell_id, 0x0102);
    ASSERT_EQ(d->tfs_cells[0].frequencies.size(), 2U);
    EXPECT_EQ(d->tfs_cells[0].frequencies[0].centre_frequency, 10U);
    EXPECT_EQ(d->tfs_cells[0].frequencies[1].centre_frequency, 11U);
    EXPECT_TRUE(d->tfs_cells[0].subcells.empty());
    EXPECT_TRUE(d->cells.empty());
}

TEST(ShDeliverySystemDescriptor, KeepsAModulationOfEachType)
{
    const auto d = golden_standard<SH_delivery_system_descriptor>(
        // TDM with a long interleaver: polarization 1, roll-off 2, 8PSK, 1/2, symbol rate 18.
        Bytes{0x7F, 0x0D, 0x05, 0x8F} + Bytes{0x5F, 0x66, 0x25, 0xA9, 0x4C, 0x21, 0x47} +
        // OFDM with a short one: 5 MHz, priority 1, 16QAM, 2/5, 1/4, 8k, common frequency.
        Bytes{0xFF, 0x72, 0xDF, 0x17});
    EXPECT_EQ(d->diversity_mode, 8);
    ASSERT_EQ(d->modulations.size(), 2U);
    const auto& tdm = d->modulations[0];
    EXPECT_EQ(tdm.modulation_type, 0);
    EXPECT_EQ(tdm.interleaver_presence, 1);
    EXPECT_EQ(tdm.interleaver_type, 0);
    EXPECT_EQ(tdm.polarization, 1);
    EXPECT_EQ(tdm.roll_off, 2);
    EXPECT_EQ(tdm.modulation_mode, 1);
    EXPECT_EQ(tdm.code_rate, 8);
    EXPECT_EQ(tdm.symbol_rate, 18);
    EXPECT_EQ(tdm.reserved_future_use2, 1);
    EXPECT_EQ(tdm.common_multiplier, 42);
    EXPECT_EQ(tdm.nof_late_taps, 20);
    EXPECT_EQ(tdm.nof_slices, 48);
    EXPECT_EQ(tdm.slice_distance, 0x85);
    EXPECT_EQ(tdm.non_late_increments, 7);
    const auto& ofdm = d->modulations[1];
    EXPECT_EQ(ofdm.modulation_type, 1);
    EXPECT_EQ(ofdm.interleaver_presence, 1);
    EXPECT_EQ(ofdm.interleaver_type, 1);
    EXPECT_EQ(ofdm.bandwidth, 3);
    EXPECT_EQ(ofdm.priority, 1);
    EXPECT_EQ(ofdm.constellation_and_hierarchy, 1);
    EXPECT_EQ(ofdm.code_rate, 6);
    EXPECT_EQ(ofdm.guard_interval, 3);
    EXPECT_EQ(ofdm.transmission_mode, 3);
    EXPECT_EQ(ofdm.common_frequency, 1);
    EXPECT_EQ(ofdm.common_multiplier, 5);
    EXPECT_EQ(ofdm.reserved_future_use3, 3);
}

TEST(C2DeliverySystemDescriptor, KeepsItsChannel)
{
    // 490 MHz, of the system's centre, 448 us, 1/64.
    const auto d =
        golden_standard<C2_delivery_system_descriptor>({0x7F, 0x08, 0x0D, 0x01, 0x02, 0x1D, 0x34, 0xCE, 0x80, 0x41});
    EXPECT_EQ(d->plp_id, 1);
    EXPECT_EQ(d->data_slice_id, 2);
    EXPECT_EQ(d->C2_System_tuning_frequency, 490000000U);
    EXPECT_EQ(d->C2_System_tuning_frequency_type, 1);
    EXPECT_EQ(d->active_OFDM_symbol_duration, 0);
    EXPECT_EQ(d->guard_interval, 1);
}

TEST(T2MiDescriptor, KeepsItsFieldsAndWhatIsReservedBehind)
{
    const auto d = golden_standard<T2_MI_descriptor>({0x7F, 0x05, 0x11, 0x03, 0x02, 0x01, 0x00});
    EXPECT_EQ(d->t2mi_stream_id, 3);
    EXPECT_EQ(d->num_t2mi_streams_minus_one, 2);
    EXPECT_EQ(d->pcr_iscr_common_clock_flag, 1);
    EXPECT_EQ(d->reserved_zero_future_use_byte, (Bytes{0x00}));
}

TEST(FrequencyListDescriptor, KeepsItsFrequencies)
{
    const auto d =
        golden_standard<frequency_list_descriptor>({0x62, 0x09, 0xFF, 0x02, 0xF7, 0xE3, 0x40, 0x03, 0x19, 0x75, 0x00});
    EXPECT_EQ(d->reserved_future_use, 0x3F);
    EXPECT_EQ(d->coding_type, 3);
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].centre_frequency, 49800000U);
    EXPECT_EQ(d->entries[1].centre_frequency, 0x03197500U);
}

TEST(CellListDescriptor, KeepsCellsWithTheirSubcells)
{
    const auto d = golden_standard<cell_list_descriptor>(
        Bytes{0x6C, 0x1C, 0x00, 0x01, 0x4A, 0x3D, 0xFE, 0x0C, 0x12, 0x34, 0x56, 0x08} +
        Bytes{0x09, 0x4A, 0x00, 0x01, 0x02, 0xAB, 0xCD, 0xEF} +
        Bytes{0x00, 0x02, 0x80, 0x00, 0x7F, 0xFF, 0x00, 0x10, 0x02, 0x00});
    ASSERT_EQ(d->cells.size(), 2U);
    const auto& first = d->cells[0];
    EXPECT_EQ(first.cell_id, 1);
    EXPECT_EQ(first.cell_latitude, 0x4A3D);
    EXPECT_EQ(first.cell_longitude, 0xFE0C);
    EXPECT_EQ(first.cell_extent_of_latitude, 0x123);
    EXPECT_EQ(first.cell_extent_of_longitude, 0x456);
    ASSERT_EQ(first.subcells.size(), 1U);
    EXPECT_EQ(first.subcells[0].cell_id_extension, 9);
    EXPECT_EQ(first.subcells[0].subcell_latitude, 0x4A00);
    EXPECT_EQ(first.subcells[0].subcell_longitude, 0x0102);
    EXPECT_EQ(first.subcells[0].subcell_extent_of_latitude, 0xABC);
    EXPECT_EQ(first.subcells[0].subcell_extent_of_longitude, 0xDEF);
    EXPECT_EQ(d->cells[1].cell_latitude, 0x8000);
    EXPECT_EQ(d->cells[1].cell_extent_of_latitude, 1);
    EXPECT_EQ(d->cells[1].cell_extent_of_longitude, 2);
    EXPECT_TRUE(d->cells[1].subcells.empty());
}

TEST(CellFrequencyLinkDescriptor, KeepsCellsAndTheirTransposers)
{
    const auto d = golden_standard<cell_frequency_link_descriptor>({0x6D, 0x13, 0x00, 0x01, 0x02, 0xDA, 0x3B,
                                                                    0x40, 0x05, 0x07, 0x03, 0x19, 0x75, 0x00,
                                                                    0x80, 0x02, 0x03, 0x19, 0x75, 0x01, 0x00});
    ASSERT_EQ(d->cells.size(), 2U);
    EXPECT_EQ(d->cells[0].cell_id, 1);
    EXPECT_EQ(d->cells[0].frequency, 47856448U);
    EXPECT_EQ(d->cells[0].subcell_info_loop_length, 5);
    ASSERT_EQ(d->cells[0].subcells.size(), 1U);
    EXPECT_EQ(d->cells[0].subcells[0].cell_id_extension, 7);
    EXPECT_EQ(d->cells[0].subcells[0].transposer_frequency, 52000000U);
    EXPECT_EQ(d->cells[1].cell_id, 0x8002);
    EXPECT_EQ(d->cells[1].frequency, 52000001U);
    EXPECT_TRUE(d->cells[1].subcells.empty());
}
} // namespace standard_delivery_systems_test
