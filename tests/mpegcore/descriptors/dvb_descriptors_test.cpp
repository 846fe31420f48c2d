// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the descriptors of ETSI EN 300 468.
#include "support/descriptor_loops.h"

namespace dvb_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

TEST(NetworkNameDescriptor, KeepsAsManyCharactersAsItsLengthSays)
{
    const auto d = golden_ts<network_name_descriptor>(Bytes{0x40, 0x05} + "Astra");
    EXPECT_EQ(text(d->network_name, 6), std::string_view("Astra\0", 6));
}

TEST(NetworkNameDescriptor, KeepsTheLongestName)
{
    const auto d = golden_ts<network_name_descriptor>(Bytes{0x40, 0xFF} + Bytes(255, 'n'));
    EXPECT_EQ(d->network_name[254], 'n');
    EXPECT_EQ(d->network_name[255], 0);
}

TEST(ServiceListDescriptor, KeepsItsServicesInOrder)
{
    const auto d = golden_ts<service_list_descriptor>({0x41, 0x06, 0x00, 0x02, 0x01, 0x12, 0x34, 0x19});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].service_id, 2);
    EXPECT_EQ(d->entries[0].service_type, 1);
    EXPECT_EQ(d->entries[1].service_id, 0x1234);
    EXPECT_EQ(d->entries[1].service_type, 0x19);
}

TEST(VbiDataDescriptor, KeepsTheBytesOfEachService)
{
    const auto d = golden_ts<VBI_data_descriptor>({0x45, 0x06, 0x01, 0x02, 0xE5, 0xE6, 0x04, 0x00});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].data_service_id, 1);
    EXPECT_EQ(d->entries[0].data_service_descriptor_length, 2);
    EXPECT_EQ(d->entries[0].data_service_descriptor, (Bytes{0xE5, 0xE6}));
    EXPECT_EQ(d->entries[1].data_service_id, 4);
    EXPECT_TRUE(d->entries[1].data_service_descriptor.empty());
}

TEST(TeletextDescriptor, KeepsItsPagesInOrder)
{
    const auto d =
        golden_ts<teletext_descriptor>(Bytes{0x56, 0x0A} + "deu" + Bytes{0x09, 0x00} + "eng" + Bytes{0x10, 0x88});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "deu");
    EXPECT_EQ(d->entries[0].teletext_type, 1);
    EXPECT_EQ(d->entries[0].teletext_magazine_number, 1);
    EXPECT_EQ(d->entries[0].teletext_page_number, 0);
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "eng");
    EXPECT_EQ(d->entries[1].teletext_type, 2);
    EXPECT_EQ(d->entries[1].teletext_magazine_number, 0);
    EXPECT_EQ(d->entries[1].teletext_page_number, 0x88);
}

TEST(BouquetNameDescriptor, KeepsItsName)
{
    EXPECT_EQ(text(golden_ts<bouquet_name_descriptor>(Bytes{0x47, 0x04} + "Free")->bouquet_name), "Free");
}

TEST(ServiceDescriptor, KeepsBothNames)
{
    const auto d = golden_ts<service_descriptor>(Bytes{0x48, 0x0A, 0x01, 0x03} + "ZQT" + Bytes{0x04} + "\x05One");
    EXPECT_EQ(d->service_type, 1);
    EXPECT_EQ(d->service_provider_name_length, 3);
    EXPECT_EQ(text(d->service_provider_name, 4), std::string_view("ZQT\0", 4));
    EXPECT_EQ(d->service_name_length, 4);
    EXPECT_EQ(text(d->service_name, 5), std::string_view("\x05One\0", 5));
}

TEST(ServiceDescriptor, WritesBackAnEmptyProviderName)
{
    const auto d = golden_ts<service_descriptor>(Bytes{0x48, 0x06, 0x19, 0x00, 0x03} + "ABC");
    EXPECT_EQ(d->service_provider_name_length, 0);
    EXPECT_EQ(text(d->service_name, d->service_name_length), "ABC");
}

TEST(ShortEventDescriptor, KeepsNameAndText)
{
    const auto d =
        golden_ts<short_event_descriptor>(Bytes{0x4D, 0x0C} + "eng" + Bytes{0x04} + "News" + Bytes{0x03} + "abc");
    EXPECT_EQ(text(d->ISO_639_language_code), "eng");
    EXPECT_EQ(d->event_name_length, 4);
    EXPECT_EQ(text(d->event_name_char, 5), std::string_view("News\0", 5));
    EXPECT_EQ(d->text_length, 3);
    EXPECT_EQ(text(d->text_char, 4), std::string_view("abc\0", 4));
}

TEST(ExtendedEventDescriptor, KeepsItemsAndText)
{
    const auto d =
        golden_ts<extended_event_descriptor>(Bytes{0x4E, 0x13, 0x12} + "eng" + Bytes{0x0A, 0x03} + "Dir" + Bytes{0x02} +
                                             "XY" + Bytes{0x00, 0x01} + "Z" + Bytes{0x03} + "abc");
    EXPECT_EQ(d->descriptor_number, 1);
    EXPECT_EQ(d->last_descriptor_number, 2);
    EXPECT_EQ(text(d->ISO_639_language_code), "eng");
    EXPECT_EQ(d->length_of_items, 10);
    ASSERT_EQ(d->items.size(), 2U);
    EXPECT_EQ(d->items[0].item_description_length, 3);
    EXPECT_EQ(text(d->items[0].item_description_char), "Dir");
    EXPECT_EQ(d->items[0].item_length, 2);
    EXPECT_EQ(text(d->items[0].item_char), "XY");
    EXPECT_TRUE(d->items[1].item_description_char.empty());
    EXPECT_EQ(text(d->items[1].item_char), "Z");
    EXPECT_EQ(d->text_length, 3);
    EXPECT_EQ(text(d->text_char), "abc");
}

TEST(ExtendedEventDescriptor, KeepsItemsOfTheLargestLength)
{
    const Bytes item = Bytes{0x02} + "ab" + Bytes{0x7B} + Bytes(0x7B, 'i');
    const auto d = golden_ts<extended_event_descriptor>(Bytes{0x4E, 0xFF, 0x00} + "eng" + Bytes{0xF9} + item +
                                                        Bytes{0x00, 0x78} + Bytes(0x78, 'j') + Bytes{0x00});
    ASSERT_EQ(d->items.size(), 2U);
    EXPECT_EQ(d->items[1].item_length, 0x78);
    EXPECT_EQ(d->text_length, 0);
}

TEST(StreamIdentifierDescriptor, KeepsItsField)
{
    EXPECT_EQ(golden_ts<stream_identifier_descriptor>({0x52, 0x01, 0x2A})->component_tag, 0x2A);
}

TEST(ParentalRatingDescriptor, KeepsItsCountriesInOrder)
{
    const auto d = golden_ts<parental_rating_descriptor>(Bytes{0x55, 0x08} + "GBR" + Bytes{0x09} + "FRA" + Bytes{0x02});
    ASSERT_EQ(d->entries.size(), 2U);
    const parental_rating_descriptor::parental& first = d->entries[0];
    EXPECT_EQ(text(first.country_code), "GBR");
    EXPECT_EQ(first.rating, 9);
    EXPECT_EQ(text(d->entries[1].country_code), "FRA");
    EXPECT_EQ(d->entries[1].rating, 2);
}

TEST(LocalTimeOffsetDescriptor, KeepsItsFieldsUnconverted)
{
    const auto d = golden_ts<local_time_offset_descriptor>(
        Bytes{0x58, 0x0D} + "GBR" + Bytes{0x06, 0x01, 0x30, 0xC0, 0x79, 0x12, 0x45, 0x59, 0x02, 0x00});
    ASSERT_EQ(d->entries.size(), 1U);
    const std::shared_ptr<local_time_offset_descriptor::local_time_offset_entry> entry = d->entries[0];
    EXPECT_EQ(text(entry->country_code), "GBR");
    EXPECT_EQ(entry->country_region_id, 1);
    EXPECT_EQ(entry->reserved, 1);
    EXPECT_EQ(entry->local_time_offset_polarity, 0);
    EXPECT_EQ(entry->local_time_offset, 0x0130);
    EXPECT_EQ(entry->time_of_change, 0xC079124559U);
    EXPECT_EQ(entry->next_time_offset, 0x0200);
}

TEST(LocalTimeOffsetDescriptor, KeepsARegionAndAPolarityOfAllOnes)
{
    const auto d = golden_ts<local_time_offset_descriptor>(Bytes{0x58, 0x0D} + "AUS" + Bytes{0xFD} + Bytes(9, 0x00));
    EXPECT_EQ(d->entries.at(0)->country_region_id, 0x3F);
    EXPECT_EQ(d->entries.at(0)->reserved, 0);
    EXPECT_EQ(d->entries.at(0)->local_time_offset_polarity, 1);
}

TEST(SubtitlingDescriptor, KeepsItsPagesInOrder)
{
    const auto d = golden_ts<subtitling_descriptor>(Bytes{0x59, 0x10} + "fra" + Bytes{0x10, 0x00, 0x01, 0x00, 0x02} +
                                                    "nor" + Bytes{0x20, 0x12, 0x34, 0x56, 0x78});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "fra");
    EXPECT_EQ(d->entries[0].subtitling_type, 0x10);
    EXPECT_EQ(d->entries[0].composition_page_id, 1);
    EXPECT_EQ(d->entries[0].ancillary_page_id, 2);
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "nor");
    EXPECT_EQ(d->entries[1].composition_page_id, 0x1234);
    EXPECT_EQ(d->entries[1].ancillary_page_id, 0x5678);
}

TEST(Ac3Descriptor, KeepsTheFieldsThatItsFlagsAnnounce)
{
    const auto d = golden_ts<ac3_descriptor>({0x6A, 0x06, 0xD5, 0x42, 0x06, 0x01, 0xAA, 0xBB});
    EXPECT_EQ(d->component_type_flag, 1);
    EXPECT_EQ(d->bsid_flag, 1);
    EXPECT_EQ(d->mainid_flag, 0);
    EXPECT_EQ(d->asvc_flag, 1);
    EXPECT_EQ(d->reserved, 5);
    EXPECT_EQ(d->component_type, 0x42);
    EXPECT_EQ(d->bsid, 6);
    EXPECT_EQ(d->mainid, 0);
    EXPECT_EQ(d->asvc, 1);
    EXPECT_EQ(d->additional_info, (Bytes{0xAA, 0xBB}));
}

TEST(Ac3Descriptor, KeepsEachFieldAlone)
{
    using D = ac3_descriptor;
    constexpr std::array flags{&D::component_type_flag, &D::bsid_flag, &D::mainid_flag, &D::asvc_flag};
    constexpr std::array values{&D::component_type, &D::bsid, &D::mainid, &D::asvc};
    for (std::size_t set = 0; set < flags.size(); ++set) {
        const auto d = golden_ts<D>({0x6A, 0x02, static_cast<unsigned char>(0x80 >> set), 0x07});
        for (std::size_t at = 0; at < flags.size(); ++at) {
            EXPECT_EQ((*d).*flags.at(at), at == set ? 1 : 0) << set << ' ' << at;
            EXPECT_EQ((*d).*values.at(at), at == set ? 7 : 0) << set << ' ' << at;
        }
        EXPECT_TRUE(d->additional_info.empty());
    }
}

TEST(ExtensionDescriptor, KeepsItsSelectorBytes)
{
    const auto d = golden_ts<extension_descriptor>({0x7F, 0x04, 0x05, 0x11, 0x22, 0x33});
    EXPECT_EQ(d->descriptor_tag_extension, 5);
    EXPECT_EQ(d->selector_byte, (Bytes{0x11, 0x22, 0x33}));
}

TEST(T2DeliverySystemDescriptor, KeepsItsFixedFields)
{
    const auto d = golden_ts<T2_delivery_system_descriptor>({0x7F, 0x06, 0x04, 0x01, 0x12, 0x34, 0x46, 0x4D});
    EXPECT_EQ(d->descriptor_tag_extension, 4);
    EXPECT_EQ(d->plp_id, 1);
    EXPECT_EQ(d->T2_system_id, 0x1234);
    EXPECT_EQ(d->SISO_MISO, 1);
    EXPECT_EQ(d->bandwidth, 1);
    EXPECT_EQ(d->reserved_future_use, 2);
    EXPECT_EQ(d->guard_interval, 2);
    EXPECT_EQ(d->transmission_mode, 3);
    EXPECT_EQ(d->other_frequency_flag, 0);
    EXPECT_EQ(d->tfs_flag, 1);
}

TEST(LogicalChannelDescriptor, KeepsItsChannelsInOrder)
{
    const auto d = golden_ts<logical_channel_descriptor>({0x83, 0x08, 0x00, 0x01, 0xFC, 0x05, 0x12, 0x34, 0x57, 0xFF});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].service_id, 1);
    EXPECT_EQ(d->entries[0].visible_service_flag, 1);
    EXPECT_EQ(d->entries[0].reserved, 0x1F);
    EXPECT_EQ(d->entries[0].logical_channel_number, 5);
    EXPECT_EQ(d->entries[1].service_id, 0x1234);
    EXPECT_EQ(d->entries[1].visible_service_flag, 0);
    EXPECT_EQ(d->entries[1].reserved, 0x15);
    EXPECT_EQ(d->entries[1].logical_channel_number, 0x3FF);
}
} // namespace dvb_descriptors_test
