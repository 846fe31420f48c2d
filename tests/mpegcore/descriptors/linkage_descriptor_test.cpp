// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the linkage descriptor, ETSI EN 300 468, 6.2.19, by linkage_type.
#include "support/descriptor_loops.h"

namespace linkage_descriptor_test
{
using namespace mpegcore;
using namespace zqtest;

const Bytes linked_service{0x04, 0x31, 0x00, 0x01, 0x6D, 0x66};

TEST(LinkageDescriptor, KeepsItsServiceAndWhatStandsBehind)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x09} + linked_service + Bytes{0x05, 0xAA, 0xBB});
    EXPECT_EQ(d->transport_stream_id, 0x0431);
    EXPECT_EQ(d->original_network_id, 1);
    EXPECT_EQ(d->service_id, 0x6D66);
    EXPECT_EQ(d->linkage_type, 5);
    EXPECT_EQ(d->private_data_byte, (Bytes{0xAA, 0xBB}));
}

TEST(LinkageDescriptor, KeepsAHandOverToANetworkOfAnInitialService)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x0D} + linked_service +
                                                       Bytes{0x08, 0x2E, 0x12, 0x34, 0x56, 0x78, 0x99});
    EXPECT_EQ(d->hand_over.hand_over_type, 2);
    EXPECT_EQ(d->hand_over.reserved_future_use, 7);
    EXPECT_EQ(d->hand_over.origin_type, 0);
    EXPECT_EQ(d->hand_over.network_id, 0x1234);
    EXPECT_EQ(d->hand_over.initial_service_id, 0x5678);
    EXPECT_EQ(d->private_data_byte, (Bytes{0x99}));
}

TEST(LinkageDescriptor, LeavesOutWhatAHandOverOfAnotherTypeLacks)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x08} + linked_service + Bytes{0x08, 0x4F});
    EXPECT_EQ(d->hand_over.hand_over_type, 4);
    EXPECT_EQ(d->hand_over.origin_type, 1);
}

TEST(LinkageDescriptor, KeepsALinkToAnEvent)
{
    const auto d =
        golden_standard<linkage_descriptor>(Bytes{0x4A, 0x0A} + linked_service + Bytes{0x0D, 0x12, 0x34, 0xBF});
    EXPECT_EQ(d->event.target_event_id, 0x1234);
    EXPECT_EQ(d->event.target_listed, 1);
    EXPECT_EQ(d->event.event_simulcast, 0);
    EXPECT_EQ(d->event.reserved_future_use, 0x3F);
}

TEST(LinkageDescriptor, KeepsExtendedLinksToEventsInEachForm)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x1A} + linked_service + Bytes{0x0E, 0x11} +
                                                       Bytes{0x11, 0x11, 0x90} +
                                                       Bytes{0x22, 0x22, 0x57, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F} +
                                                       Bytes{0x33, 0x33, 0xCC, 0xBE, 0xEF} + Bytes{0x77});
    EXPECT_EQ(d->loop_length, 17);
    ASSERT_EQ(d->events.size(), 3U);
    EXPECT_EQ(d->events[0].target_event_id, 0x1111);
    EXPECT_EQ(d->events[0].target_listed, 1);
    EXPECT_EQ(d->events[0].event_simulcast, 0);
    EXPECT_EQ(d->events[0].link_type, 1);
    EXPECT_EQ(d->events[0].target_id_type, 0);
    EXPECT_EQ(d->events[1].event_simulcast, 1);
    EXPECT_EQ(d->events[1].target_id_type, 1);
    EXPECT_EQ(d->events[1].target_transport_stream_id, 0x0A0B);
    EXPECT_EQ(d->events[1].target_original_network_id, 0x0C0D);
    EXPECT_EQ(d->events[1].target_service_id, 0x0E0F);
    EXPECT_EQ(d->events[2].target_id_type, 3);
    EXPECT_EQ(d->events[2].user_defined_id, 0xBEEF);
    EXPECT_EQ(d->private_data_byte, (Bytes{0x77}));
}

TEST(LinkageDescriptor, KeepsTheMakersOfASoftwareUpdate)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x13} + linked_service + Bytes{0x09, 0x0A} +
                                                       Bytes{0x00, 0x15, 0x0A, 0x02, 0xF1, 0xF2} +
                                                       Bytes{0xAB, 0xCD, 0xEF, 0x00} + Bytes{0x77});
    EXPECT_EQ(d->OUI_data_length, 10);
    ASSERT_EQ(d->software_updates.size(), 2U);
    EXPECT_EQ(d->software_updates[0].OUI, 0x00150AU);
    EXPECT_EQ(d->software_updates[0].selector, (Bytes{0xF1, 0xF2}));
    EXPECT_EQ(d->software_updates[1].OUI, 0xABCDEFU);
    EXPECT_EQ(d->software_updates[1].selector_length, 0);
    EXPECT_EQ(d->private_data_byte, (Bytes{0x77}));
}

TEST(LinkageDescriptor, KeepsWhichTableHasTheSoftwareUpdates)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x09} + linked_service + Bytes{0x0A, 0x02, 0x55});
    EXPECT_EQ(d->table_type, 2);
    EXPECT_EQ(d->private_data_byte, (Bytes{0x55}));
}

TEST(LinkageDescriptor, KeepsPlatformsAndTheirNames)
{
    const auto d = golden_standard<linkage_descriptor>(
        Bytes{0x4A, 0x18} + linked_service + Bytes{0x0B, 0x0F} + Bytes{0x00, 0x00, 0x05, 0x07} + "deu" +
        Bytes{0x03, 'N', 'e', 't'} + Bytes{0xAB, 0xCD, 0xEF, 0x00} + Bytes{0x66});
    EXPECT_EQ(d->platform_id_data_length, 15);
    ASSERT_EQ(d->platforms.size(), 2U);
    EXPECT_EQ(d->platforms[0].platform_id, 5U);
    EXPECT_EQ(d->platforms[0].platform_name_loop_length, 7);
    ASSERT_EQ(d->platforms[0].names.size(), 1U);
    EXPECT_EQ(text(d->platforms[0].names[0].ISO_639_language_code), "deu");
    EXPECT_EQ(text(d->platforms[0].names[0].platform_name), "Net");
    EXPECT_EQ(d->platforms[1].platform_id, 0xABCDEFU);
    EXPECT_TRUE(d->platforms[1].names.empty());
    EXPECT_EQ(d->private_data_byte, (Bytes{0x66}));
}

TEST(LinkageDescriptor, KeepsTheBouquetWhoseTableHasTheNotification)
{
    const auto d =
        golden_standard<linkage_descriptor>(Bytes{0x4A, 0x0A} + linked_service + Bytes{0x0C, 0x02, 0x12, 0x34});
    EXPECT_EQ(d->table_type, 2);
    EXPECT_EQ(d->bouquet_id, 0x1234);
}

TEST(LinkageDescriptor, HasNoBouquetWhenANetworkTableHasTheNotification)
{
    const auto d = golden_standard<linkage_descriptor>(Bytes{0x4A, 0x09} + linked_service + Bytes{0x0C, 0x01, 0x44});
    EXPECT_EQ(d->table_type, 1);
    EXPECT_EQ(d->bouquet_id, 0);
    EXPECT_EQ(d->private_data_byte, (Bytes{0x44}));
}

TEST(LinkageDescriptor, StaysRawWhenAnInnerLengthDoesNotFit)
{
    golden_standard<base_descriptor>(Bytes{0x4A, 0x0B} + linked_service + Bytes{0x09, 0x05, 0x00, 0x15, 0x0A});
}
} // namespace linkage_descriptor_test
