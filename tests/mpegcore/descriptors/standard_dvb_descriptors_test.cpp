// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the service, event and stream descriptors of ETSI EN 300 468, TS 102 323 and TS 102 809 that only the
// standard dictionary has.
#include "support/descriptor_loops.h"

namespace standard_dvb_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

TEST(ComponentDescriptor, KeepsItsFieldsAndText)
{
    const auto d = golden_standard<component_descriptor>(Bytes{0x50, 0x0B, 0xF5, 0x0B, 0x10} + "deu" + "video");
    EXPECT_EQ(d->stream_content_ext, 15);
    EXPECT_EQ(d->stream_content, 5);
    EXPECT_EQ(d->component_type, 0x0B);
    EXPECT_EQ(d->component_tag, 0x10);
    EXPECT_EQ(text(d->ISO_639_language_code), "deu");
    EXPECT_EQ(text(d->text), "video");
}

TEST(CaIdentifierDescriptor, KeepsItsSystemsInOrder)
{
    const auto d = golden_standard<CA_identifier_descriptor>({0x53, 0x04, 0x18, 0x33, 0x05, 0x00});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].CA_system_id, 0x1833);
    EXPECT_EQ(d->entries[1].CA_system_id, 0x0500);
}

TEST(ContentDescriptor, KeepsItsGenresInOrder)
{
    const auto d = golden_standard<content_descriptor>({0x54, 0x04, 0x23, 0x00, 0xB1, 0x7F});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].content_nibble_level_1, 2);
    EXPECT_EQ(d->entries[0].content_nibble_level_2, 3);
    EXPECT_EQ(d->entries[0].user_byte, 0);
    EXPECT_EQ(d->entries[1].content_nibble_level_1, 11);
    EXPECT_EQ(d->entries[1].content_nibble_level_2, 1);
    EXPECT_EQ(d->entries[1].user_byte, 0x7F);
}

TEST(MultilingualNetworkNameDescriptor, KeepsANameForEachLanguage)
{
    const auto d = golden_standard<multilingual_network_name_descriptor>(Bytes{0x5B, 0x0C} + "eng" + Bytes{0x03} +
                                                                         "Net" + "fra" + Bytes{0x01} + "R");
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "eng");
    EXPECT_EQ(text(d->entries[0].network_name), "Net");
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "fra");
    EXPECT_EQ(text(d->entries[1].network_name), "R");
}

TEST(MultilingualServiceNameDescriptor, KeepsBothNamesForEachLanguage)
{
    const auto d = golden_standard<multilingual_service_name_descriptor>(
        Bytes{0x5D, 0x0F} + "eng" + Bytes{0x02} + "Pr" + Bytes{0x03} + "One" + "fra" + Bytes{0x00, 0x00});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "eng");
    EXPECT_EQ(text(d->entries[0].service_provider_name), "Pr");
    EXPECT_EQ(text(d->entries[0].service_name), "One");
    EXPECT_TRUE(d->entries[1].service_name.empty());
}

TEST(PrivateDataSpecifierDescriptor, KeepsItsField)
{
    EXPECT_EQ(
        golden_standard<private_data_specifier_descriptor>({0x5F, 0x04, 0, 0, 0x23, 0x3A})->private_data_specifier,
        0x233AU);
}

TEST(DataBroadcastDescriptor, KeepsSelectorAndText)
{
    const auto d = golden_standard<data_broadcast_descriptor>(Bytes{0x64, 0x0D, 0x00, 0x0A, 0x42, 0x02, 0x11, 0x22} +
                                                              "eng" + Bytes{0x03} + "SSU");
    EXPECT_EQ(d->data_broadcast_id, 0x000A);
    EXPECT_EQ(d->component_tag, 0x42);
    EXPECT_EQ(d->selector, (Bytes{0x11, 0x22}));
    EXPECT_EQ(text(d->ISO_639_language_code), "eng");
    EXPECT_EQ(text(d->text), "SSU");
}

TEST(DataBroadcastIdDescriptor, KeepsItsSelector)
{
    const auto d = golden_standard<data_broadcast_id_descriptor>({0x66, 0x04, 0x00, 0x0A, 0x00, 0x15});
    EXPECT_EQ(d->data_broadcast_id, 10);
    EXPECT_EQ(d->id_selector_byte, (Bytes{0x00, 0x15}));
}

TEST(ApplicationSignallingDescriptor, KeepsTheVersionOfEachType)
{
    const auto d = golden_standard<application_signalling_descriptor>({0x6F, 0x06, 0x00, 0x10, 0xE3, 0x80, 0x01, 0x1F});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].reserved_future_use, 0);
    EXPECT_EQ(d->entries[0].application_type, 0x10);
    EXPECT_EQ(d->entries[0].reserved_future_use2, 7);
    EXPECT_EQ(d->entries[0].AIT_version_number, 3);
    EXPECT_EQ(d->entries[1].reserved_future_use, 1);
    EXPECT_EQ(d->entries[1].application_type, 1);
    EXPECT_EQ(d->entries[1].reserved_future_use2, 0);
    EXPECT_EQ(d->entries[1].AIT_version_number, 0x1F);
}

TEST(DefaultAuthorityDescriptor, KeepsItsName)
{
    const auto d = golden_standard<default_authority_descriptor>(Bytes{0x73, 0x0B} + "example.org");
    EXPECT_EQ(text(d->default_authority_byte), "example.org");
}

TEST(ContentIdentifierDescriptor, KeepsIdentifiersAndReferences)
{
    const auto d = golden_standard<content_identifier_descriptor>(Bytes{0x76, 0x0A, 0xC4, 0x04} + "/abc" +
                                                                  Bytes{0xC9, 0x12, 0x34, 0x06});
    ASSERT_EQ(d->entries.size(), 3U);
    EXPECT_EQ(d->entries[0].crid_type, 0x31);
    EXPECT_EQ(d->entries[0].crid_location, 0);
    EXPECT_EQ(text(d->entries[0].crid), "/abc");
    EXPECT_EQ(d->entries[1].crid_type, 0x32);
    EXPECT_EQ(d->entries[1].crid_location, 1);
    EXPECT_EQ(d->entries[1].crid_ref, 0x1234);
    EXPECT_EQ(d->entries[2].crid_type, 1);
    EXPECT_EQ(d->entries[2].crid_location, 2);
}

TEST(EnhancedAc3Descriptor, KeepsWhatEachFlagAnnounces)
{
    const std::array<std::uint8_t enhanced_AC_3_descriptor::*, 7> fields{
        &enhanced_AC_3_descriptor::component_type, &enhanced_AC_3_descriptor::bsid,
        &enhanced_AC_3_descriptor::mainid,         &enhanced_AC_3_descriptor::asvc,
        &enhanced_AC_3_descriptor::substream1,     &enhanced_AC_3_descriptor::substream2,
        &enhanced_AC_3_descriptor::substream3};
    const Bytes flags{0x80, 0x40, 0x20, 0x10, 0x04, 0x02, 0x01};
    for (std::size_t at = 0; at < flags.size(); ++at) {
        const auto d = golden_standard<enhanced_AC_3_descriptor>({0x7A, 0x03, flags[at], 0xC2, 0x99});
        EXPECT_EQ((*d).*fields[at], 0xC2) << at;
        EXPECT_EQ(d->additional_info_byte, (Bytes{0x99}));
    }
}

TEST(EnhancedAc3Descriptor, KeepsAllFieldsInTheirOrder)
{
    const auto d = golden_standard<enhanced_AC_3_descriptor>({0x7A, 0x08, 0xFF, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(d->component_type, 1);
    EXPECT_EQ(d->bsid, 2);
    EXPECT_EQ(d->mainid, 3);
    EXPECT_EQ(d->asvc, 4);
    EXPECT_EQ(d->mixinfoexists, 1);
    EXPECT_EQ(d->substream1, 5);
    EXPECT_EQ(d->substream2, 6);
    EXPECT_EQ(d->substream3, 7);
}

TEST(DtsDescriptor, KeepsItsFields)
{
    // 48 kHz, 768 kbit/s, 512 samples in 1006 bytes, 3/2 with a low frequency channel.
    const auto d = golden_standard<DTS_descriptor>({0x7B, 0x06, 0xD3, 0xC7, 0x87, 0xDA, 0x4C, 0x55});
    EXPECT_EQ(d->sample_rate_code, 13);
    EXPECT_EQ(d->bit_rate_code, 15);
    EXPECT_EQ(d->nblks, 15);
    EXPECT_EQ(d->fsize, 1005);
    EXPECT_EQ(d->surround_mode, 9);
    EXPECT_EQ(d->lfe_flag, 1);
    EXPECT_EQ(d->extended_surround_flag, 0);
    EXPECT_EQ(d->additional_info_byte, (Bytes{0x55}));
}

TEST(AacDescriptor, MayBeItsProfileAlone)
{
    EXPECT_EQ(golden_standard<AAC_descriptor>({0x7C, 0x01, 0x52})->profile_and_level, 0x52);
}

TEST(AacDescriptor, KeepsItsTypeAndWhatStandsBehind)
{
    const auto d = golden_standard<AAC_descriptor>({0x7C, 0x04, 0x58, 0xC0, 0x43, 0x01});
    EXPECT_EQ(d->AAC_type_flag, 1);
    EXPECT_EQ(d->SAOC_DE_flag, 1);
    EXPECT_EQ(d->reserved_zero_future_use, 0);
    EXPECT_EQ(d->AAC_type, 0x43);
    EXPECT_EQ(d->additional_info_byte, (Bytes{0x01}));
}

TEST(FtaContentManagementDescriptor, KeepsItsFields)
{
    const auto d = golden_standard<FTA_content_management_descriptor>({0x7E, 0x01, 0x7D});
    EXPECT_EQ(d->user_defined, 0);
    EXPECT_EQ(d->reserved_future_use, 7);
    EXPECT_EQ(d->do_not_scramble, 1);
    EXPECT_EQ(d->control_remote_access_over_internet, 2);
    EXPECT_EQ(d->do_not_apply_revocation, 1);
}

TEST(SupplementaryAudioDescriptor, KeepsItsLanguageAndWhatStandsBehind)
{
    const auto d = golden_standard<supplementary_audio_descriptor>(Bytes{0x7F, 0x06, 0x06, 0x87} + "eng" + Bytes{0x5A});
    EXPECT_EQ(d->mix_type, 1);
    EXPECT_EQ(d->editorial_classification, 1);
    EXPECT_EQ(d->reserved_future_use, 1);
    EXPECT_EQ(d->language_code_present, 1);
    EXPECT_EQ(text(d->ISO_639_language_code), "eng");
    EXPECT_EQ(d->private_data_byte, (Bytes{0x5A}));
}

TEST(SupplementaryAudioDescriptor, MayHaveNoLanguage)
{
    const auto d = golden_standard<supplementary_audio_descriptor>({0x7F, 0x02, 0x06, 0x44});
    EXPECT_EQ(d->mix_type, 0);
    EXPECT_EQ(d->editorial_classification, 17);
    EXPECT_EQ(d->language_code_present, 0);
}

TEST(MessageDescriptor, KeepsItsText)
{
    const auto d = golden_standard<message_descriptor>(Bytes{0x7F, 0x0A, 0x08, 0x21} + "ita" + "Salve");
    EXPECT_EQ(d->message_id, 0x21);
    EXPECT_EQ(text(d->ISO_639_language_code), "ita");
    EXPECT_EQ(text(d->text), "Salve");
}

TEST(MultilingualBouquetNameDescriptor, KeepsEachLanguage)
{
    const auto d = golden_standard<multilingual_bouquet_name_descriptor>(Bytes{0x5C, 0x0E} + "fra" + Bytes{0x05} +
                                                                         "Monde" + "eng" + Bytes{0x01} + "W");
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "fra");
    EXPECT_EQ(text(d->entries[0].bouquet_name), "Monde");
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "eng");
    EXPECT_EQ(d->entries[1].bouquet_name_length, 1);
    EXPECT_EQ(text(d->entries[1].bouquet_name), "W");
}

TEST(MultilingualComponentDescriptor, KeepsItsComponentAndEachLanguage)
{
    const auto d = golden_standard<multilingual_component_descriptor>(Bytes{0x5E, 0x0F, 0x2B} + "ita" + Bytes{0x04} +
                                                                      "voce" + "nld" + Bytes{0x02} + "ab");
    EXPECT_EQ(d->component_tag, 0x2B);
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "ita");
    EXPECT_EQ(text(d->entries[0].text_description), "voce");
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "nld");
    EXPECT_EQ(d->entries[1].text_description_length, 2);
    EXPECT_EQ(text(d->entries[1].text_description), "ab");
}

TEST(PartialTransportStreamDescriptor, KeepsItsRatesAndBuffer)
{
    // 25 Mbit/s, undefined, 8192 bytes.
    const auto d = golden_standard<partial_transport_stream_descriptor>(
        {0x63, 0x08, 0xC0, 0xF4, 0x24, 0xBF, 0xFF, 0xFF, 0xE0, 0x00});
    EXPECT_EQ(d->DVB_reserved_future_use, 3);
    EXPECT_EQ(d->peak_rate, 62500U);
    EXPECT_EQ(d->DVB_reserved_future_use2, 2);
    EXPECT_EQ(d->minimum_overall_smoothing_rate, 0x3FFFFFU);
    EXPECT_EQ(d->DVB_reserved_future_use3, 3);
    EXPECT_EQ(d->maximum_overall_smoothing_buffer, 0x2000);
}
} // namespace standard_dvb_descriptors_test
