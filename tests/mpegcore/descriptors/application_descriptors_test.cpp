// SPDX-License-Identifier: LGPL-2.1-or-later
// Golden bytes of the descriptors of the application information table, ETSI TS 102 809, 5.3.
#include "support/descriptor_loops.h"

namespace application_descriptors_test
{
using namespace mpegcore;
using namespace zqtest;

template <class T>
std::shared_ptr<T> golden_ait(const Bytes& bytes)
{
    return golden<T>(ZQDescriptorType::StandardAIT, bytes);
}

TEST(ApplicationDescriptor, KeepsProfilesVisibilityAndLabels)
{
    const auto d = golden_ait<application_descriptor>(
        {0x00, 0x0F, 0x0A, 0x00, 0x00, 0x01, 0x01, 0x02, 0x00, 0x02, 0x03, 0x04, 0x05, 0xFF, 0x07, 0x01, 0x09});
    EXPECT_EQ(d->application_profiles_length, 10);
    ASSERT_EQ(d->profiles.size(), 2U);
    EXPECT_EQ(d->profiles[0].application_profile, 0);
    EXPECT_EQ(d->profiles[0].version_major, 1);
    EXPECT_EQ(d->profiles[0].version_minor, 1);
    EXPECT_EQ(d->profiles[0].version_micro, 2);
    EXPECT_EQ(d->profiles[1].application_profile, 2);
    EXPECT_EQ(d->profiles[1].version_major, 3);
    EXPECT_EQ(d->profiles[1].version_minor, 4);
    EXPECT_EQ(d->profiles[1].version_micro, 5);
    EXPECT_EQ(d->service_bound_flag, 1);
    EXPECT_EQ(d->visibility, 3);
    EXPECT_EQ(d->reserved_future_use, 0x1F);
    EXPECT_EQ(d->application_priority, 7);
    ASSERT_EQ(d->labels.size(), 2U);
    EXPECT_EQ(d->labels[0].transport_protocol_label, 1);
    EXPECT_EQ(d->labels[1].transport_protocol_label, 9);
}

TEST(ApplicationDescriptor, TakesVisibilityBetweenItsNeighbours)
{
    const auto d = golden_ait<application_descriptor>({0x00, 0x03, 0x00, 0x20, 0x05});
    EXPECT_EQ(d->service_bound_flag, 0);
    EXPECT_EQ(d->visibility, 1);
    EXPECT_EQ(d->reserved_future_use, 0);
    EXPECT_TRUE(d->labels.empty());
}

TEST(ApplicationNameDescriptor, KeepsTheNameInEachLanguage)
{
    const auto d = golden_ait<application_name_descriptor>(Bytes{0x01, 0x0F} + "ITA" + Bytes{0x05} + "Tasti" + "deu" +
                                                           Bytes{0x02} + "ab");
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].ISO_639_language_code), "ITA");
    EXPECT_EQ(d->entries[0].application_name_length, 5);
    EXPECT_EQ(text(d->entries[0].application_name), "Tasti");
    EXPECT_EQ(text(d->entries[1].ISO_639_language_code), "deu");
    EXPECT_EQ(text(d->entries[1].application_name), "ab");
}

TEST(TransportProtocolDescriptor, KeepsACarouselOfTheService)
{
    const auto d = golden_ait<transport_protocol_descriptor>({0x02, 0x05, 0x00, 0x01, 0x03, 0x7F, 0x6A});
    EXPECT_EQ(d->protocol_id, 1);
    EXPECT_EQ(d->transport_protocol_label, 3);
    EXPECT_EQ(d->where.remote_connection, 0);
    EXPECT_EQ(d->where.reserved_future_use, 0x7F);
    EXPECT_EQ(d->component_tag, 0x6A);
}

TEST(TransportProtocolDescriptor, KeepsTheServiceOfARemoteCarousel)
{
    const auto d = golden_ait<transport_protocol_descriptor>(
        {0x02, 0x0B, 0x00, 0x01, 0x04, 0xFF, 0x00, 0x01, 0x04, 0x31, 0x6D, 0x66, 0x21});
    EXPECT_EQ(d->where.remote_connection, 1);
    EXPECT_EQ(d->where.original_network_id, 1);
    EXPECT_EQ(d->where.transport_stream_id, 0x0431);
    EXPECT_EQ(d->where.service_id, 0x6D66);
    EXPECT_EQ(d->component_tag, 0x21);
}

TEST(TransportProtocolDescriptor, KeepsTheAddressesOfDatagrams)
{
    const auto d = golden_ait<transport_protocol_descriptor>(Bytes{0x02, 0x0B, 0x00, 0x02, 0x05, 0x00, 0xFE} +
                                                             Bytes{0x02} + "a:" + Bytes{0x02} + "b:");
    EXPECT_EQ(d->where.reserved_future_use, 0);
    EXPECT_EQ(d->alignment_indicator, 1);
    EXPECT_EQ(d->reserved_future_use, 0x7E);
    ASSERT_EQ(d->URLs.size(), 2U);
    EXPECT_EQ(text(d->URLs[0].URL), "a:");
    EXPECT_EQ(text(d->URLs[1].URL), "b:");
}

TEST(TransportProtocolDescriptor, KeepsBasesAndExtensionsOfHttp)
{
    const auto d = golden_ait<transport_protocol_descriptor>(Bytes{0x02, 0x11, 0x00, 0x03, 0x01} + Bytes{0x04} +
                                                             "http" + Bytes{0x02, 0x01} + "x" + Bytes{0x02} + "yz" +
                                                             Bytes{0x01} + "h" + Bytes{0x00});
    ASSERT_EQ(d->bases.size(), 2U);
    EXPECT_EQ(text(d->bases[0].URL_base), "http");
    EXPECT_EQ(d->bases[0].URL_extension_count, 2);
    ASSERT_EQ(d->bases[0].extensions.size(), 2U);
    EXPECT_EQ(text(d->bases[0].extensions[0].URL_extension), "x");
    EXPECT_EQ(text(d->bases[0].extensions[1].URL_extension), "yz");
    EXPECT_EQ(text(d->bases[1].URL_base), "h");
    EXPECT_TRUE(d->bases[1].extensions.empty());
}

TEST(TransportProtocolDescriptor, KeepsTheSelectorOfAnotherProtocol)
{
    const auto d = golden_ait<transport_protocol_descriptor>({0x02, 0x05, 0x01, 0x00, 0x02, 0xAA, 0xBB});
    EXPECT_EQ(d->protocol_id, 0x0100);
    EXPECT_EQ(d->selector_byte, (Bytes{0xAA, 0xBB}));
}

TEST(DvbJApplicationDescriptor, KeepsEachParameter)
{
    const auto d = golden_ait<dvb_j_application_descriptor>(Bytes{0x03, 0x06, 0x02} + "-v" + Bytes{0x00, 0x01} + "q");
    ASSERT_EQ(d->entries.size(), 3U);
    EXPECT_EQ(text(d->entries[0].parameter), "-v");
    EXPECT_EQ(d->entries[1].parameter_length, 0);
    EXPECT_EQ(text(d->entries[2].parameter), "q");
}

TEST(DvbJApplicationLocationDescriptor, KeepsDirectoryPathAndClass)
{
    const auto d = golden_ait<dvb_j_application_location_descriptor>(Bytes{0x04, 0x0C, 0x01} + "/" + Bytes{0x03} +
                                                                     "lib" + "a.Main"); // no length before the class
    EXPECT_EQ(d->base_directory_length, 1);
    EXPECT_EQ(text(d->base_directory), "/");
    EXPECT_EQ(text(d->classpath_extension), "lib");
    EXPECT_EQ(text(d->initial_class), "a.Main");
}

TEST(ExternalApplicationAuthorizationDescriptor, KeepsEachApplication)
{
    const auto d = golden_ait<external_application_authorization_descriptor>(
        {0x05, 0x0E, 0x00, 0x00, 0x00, 0x17, 0x40, 0x01, 0x05, 0x12, 0x34, 0x56, 0x78, 0xFF, 0xFE, 0x06});
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(d->entries[0].organisation_id, 0x17U);
    EXPECT_EQ(d->entries[0].application_id, 0x4001);
    EXPECT_EQ(d->entries[0].application_priority, 5);
    EXPECT_EQ(d->entries[1].organisation_id, 0x12345678U);
    EXPECT_EQ(d->entries[1].application_id, 0xFFFE);
    EXPECT_EQ(d->entries[1].application_priority, 6);
}

TEST(ApplicationIconsDescriptor, KeepsWhereAndWhichIconsThereAre)
{
    const auto d = golden_ait<application_icons_descriptor>(Bytes{0x0B, 0x08, 0x04} + "/ico" + Bytes{0x00, 0x05, 0xFF});
    EXPECT_EQ(text(d->icon_locator), "/ico");
    EXPECT_EQ(d->icon_flags, 5);
    EXPECT_EQ(d->reserved_future_use, (Bytes{0xFF}));
}

TEST(SimpleApplicationLocationDescriptor, KeepsItsPath)
{
    const auto d = golden_ait<simple_application_location_descriptor>(Bytes{0x15, 0x0A} + "index.html");
    EXPECT_EQ(text(d->initial_path_bytes), "index.html");
}

TEST(ApplicationUsageDescriptor, KeepsItsField)
{
    EXPECT_EQ(golden_ait<application_usage_descriptor>({0x16, 0x01, 0x01})->usage_type, 1);
}

TEST(SimpleApplicationBoundaryDescriptor, KeepsEachBeginning)
{
    const auto d =
        golden_ait<simple_application_boundary_descriptor>(Bytes{0x17, 0x07, 0x02, 0x03} + "dvb" + Bytes{0x01} + "h");
    EXPECT_EQ(d->boundary_extension_count, 2);
    ASSERT_EQ(d->entries.size(), 2U);
    EXPECT_EQ(text(d->entries[0].boundary_extension), "dvb");
    EXPECT_EQ(text(d->entries[1].boundary_extension), "h");
}

TEST(ApplicationDescriptors, StayRawOutsideTheirTable) { golden_standard<base_descriptor>({0x15, 0x02, 'a', 'b'}); }
} // namespace application_descriptors_test
