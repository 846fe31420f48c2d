// SPDX-License-Identifier: LGPL-2.1-or-later
// The tables that are their syntax and nothing else, from golden bytes.
#include "mpegcore/AIT.h"
#include "mpegcore/DIT.h"
#include "mpegcore/RST.h"
#include "mpegcore/SIT.h"
#include "support/Tables.h"
#include "support/rounds.h"

#include <random>

namespace standard_tables_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::ExactBlock;
using zqtest::Roomy;
using zqtest::operator+;

Bytes golden(const CRST&)
{
    return {0x71, 0x70, 0x12, 0x04, 0x31, 0x00, 0x01, 0x6D, 0x66, 0x12, 0x34,
            0xFC, 0x04, 0x32, 0x00, 0x02, 0x00, 0x07, 0x00, 0x08, 0xF9};
}

Bytes golden(const CDIT&) { return {0x7E, 0x70, 0x01, 0xFF}; }

Bytes golden(const CSIT&)
{
    const Bytes info{0x63, 0x08, 0xC0, 0x12, 0x34, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    const Bytes services = Bytes{0x00, 0x07, 0xC0, 0x02, 0x6F, 0x00} + Bytes{0x00, 0x08, 0x90, 0x00};
    return zqtest::section_of(0x7F, Bytes{0xFF, 0xFF, 0xCB, 0x00, 0x00, 0xF0, 0x0A} + info + services, 0xF);
}

Bytes golden(const CAIT&)
{
    const Bytes transport = Bytes{0x02, 0x07, 0x00, 0x03, 0x01, 0x01} + "a" + Bytes{0x00, 0x00};
    const Bytes first = Bytes{0x00, 0x00, 0x00, 0x17, 0x00, 0x01, 0x01, 0xF0, 0x09} + transport;
    const Bytes second{0x00, 0x00, 0x00, 0x18, 0x40, 0x02, 0x02, 0xF0, 0x00};
    return zqtest::section_of(
        0x74, Bytes{0x80, 0x10, 0xC3, 0x01, 0x02, 0xF0, 0x02, 0x01, 0x00, 0xF0, 0x1B} + first + second, 0xB);
}

template <class Table>
class StandardTables : public testing::Test
{
protected:
    StandardTables() { read = zqtest::read(table, section); }

    Roomy<Table> table;
    const Bytes section = golden(table);
    bool read = false;
};

using all_standard_tables = testing::Types<CRST, CDIT, CSIT, CAIT>;
TYPED_TEST_SUITE(StandardTables, all_standard_tables);

TYPED_TEST(StandardTables, RenderTheBytesThatTheyRead)
{
    ASSERT_TRUE(this->read);
    EXPECT_EQ(this->table.calc_section_length() + 3, this->section.size());
    EXPECT_EQ(zqtest::rendered(this->table), this->section);
}

TYPED_TEST(StandardTables, ForgetWhatTheyHeldWhenTheyReadAgain)
{
    ASSERT_TRUE(zqtest::read(this->table, this->section));
    EXPECT_EQ(zqtest::rendered(this->table), this->section);
}

TYPED_TEST(StandardTables, AreRefusedWhenTruncatedAtAnyByte)
{
    for (std::size_t size = 0; size < this->section.size(); ++size) {
        Roomy<TypeParam> back;
        EXPECT_FALSE(zqtest::read(back, Bytes(this->section.begin(), this->section.begin() + size))) << size;
    }
}

TYPED_TEST(StandardTables, AreRefusedWithAnyBitFlippedWhereACrcGuardsThem)
{
    if (!TypeParam::has_CRC_32)
        return;
    for (std::size_t bit = 0; bit < 8 * this->section.size(); ++bit) {
        Bytes bytes = this->section;
        bytes[bit / 8] ^= static_cast<unsigned char>(0x80 >> bit % 8);
        Roomy<TypeParam> back;
        EXPECT_FALSE(zqtest::read(back, bytes)) << bit;
    }
}

TYPED_TEST(StandardTables, AreRefusedWithBytesBehindTheirContents)
{
    Bytes longer(this->section.begin(), this->section.end() - (TypeParam::has_CRC_32 ? 4 : 0));
    longer.push_back(0xFF);
    longer[2] = static_cast<unsigned char>(longer[2] + 1);
    Roomy<TypeParam> back;
    EXPECT_FALSE(zqtest::read(back, TypeParam::has_CRC_32 ? zqtest::with_crc(longer) : longer));
}

TYPED_TEST(StandardTables, DoNotRenderIntoABufferThatIsTooSmall)
{
    for (unsigned long size = 1; size <= this->section.size(); ++size) {
        ExactBlock block(size);
        TypeParam small(block.data(), size);
        this->table.copyTo(&small);
        EXPECT_EQ(small.RenderTable(), size == this->section.size()) << size;
    }
}

TYPED_TEST(StandardTables, ShareNothingWithTheirCopy)
{
    Roomy<TypeParam> copy;
    this->table.copyTo(&copy);
    this->table.copyTo(&copy);
    this->table.copyTo(nullptr);
    this->table.copyTo(&this->table);
    this->table.Clear();
    EXPECT_EQ(zqtest::rendered(copy), this->section);
    EXPECT_LE(this->table.calc_section_length(), copy.calc_section_length());
}

TYPED_TEST(StandardTables, RenderWhateverTheyReadOfRandomSections)
{
    std::mt19937 random(5);
    unsigned whole = 0;
    for (unsigned round = 0; round < zqtest::rounds(20000); ++round) {
        // The golden section with a few bytes changed, so that lengths often fit.
        Bytes bytes(this->section.begin(), this->section.end() - (TypeParam::has_CRC_32 ? 4 : 0));
        for (unsigned changes = random() % 4; changes != 0; --changes)
            bytes[3 + random() % (bytes.size() - 3)] = static_cast<unsigned char>(random());
        if (TypeParam::has_CRC_32)
            bytes = zqtest::with_crc(bytes);
        Roomy<TypeParam> changed;
        if (!zqtest::read(changed, bytes))
            continue;
        ++whole;
        const Bytes once = zqtest::rendered(changed);
        // A last byte alone in a descriptor loop is no descriptor.
        if (once.size() == bytes.size()) {
            ASSERT_EQ(once, bytes);
        } else {
            ASSERT_LT(once.size(), bytes.size());
        }
    }
    EXPECT_GT(whole, zqtest::rounds(1000));
}

TEST(RST, KeepsTheStatusOfEachEvent)
{
    Roomy<CRST> rst;
    ASSERT_TRUE(zqtest::read(rst, golden(rst)));
    EXPECT_EQ(rst.table_id, 0x71);
    ASSERT_EQ(rst.events.size(), 2U);
    EXPECT_EQ(rst.events[0].transport_stream_id, 0x0431);
    EXPECT_EQ(rst.events[0].original_network_id, 1);
    EXPECT_EQ(rst.events[0].service_id, 0x6D66);
    EXPECT_EQ(rst.events[0].event_id, 0x1234);
    EXPECT_EQ(rst.events[0].reserved_future_use, 0x1F);
    EXPECT_EQ(rst.events[0].running_status, 4);
    EXPECT_EQ(rst.events[1].running_status, 1);
}

TEST(DIT, KeepsItsFlag)
{
    Roomy<CDIT> dit;
    ASSERT_TRUE(zqtest::read(dit, golden(dit)));
    EXPECT_EQ(dit.transition_flag, 1);
    EXPECT_EQ(dit.reserved_future_use, 0x7F);
}

TEST(SIT, KeepsItsServicesWithTheirDescriptorsWhole)
{
    Roomy<CSIT> sit;
    ASSERT_TRUE(zqtest::read(sit, golden(sit)));
    EXPECT_EQ(sit.reserved_future_use, 0xFFFF);
    EXPECT_EQ(sit.reserved, 3);
    EXPECT_EQ(sit.version.version_number, 5);
    EXPECT_EQ(sit.version.current_next_indicator, 1);
    EXPECT_EQ(sit.transmission_info_loop_length, 10);
    EXPECT_NE(sit.descriptors.find(0x63), nullptr);
    ASSERT_EQ(sit.services.size(), 2U);
    EXPECT_EQ(sit.services[0]->service_id, 7);
    EXPECT_EQ(sit.services[0]->reserved_future_use, 1);
    EXPECT_EQ(sit.services[0]->running_status, 4);
    EXPECT_NE(sit.services[0]->descriptors.find<application_signalling_descriptor>(), nullptr);
    EXPECT_EQ(sit.services[1]->running_status, 1);
    EXPECT_TRUE(sit.services[1]->descriptors.empty());
}

TEST(AIT, KeepsItsApplicationsWithTheirDescriptors)
{
    Roomy<CAIT> ait;
    ASSERT_TRUE(zqtest::read(ait, golden(ait)));
    EXPECT_EQ(ait.test_application_flag, 1);
    EXPECT_EQ(ait.application_type, 0x10);
    EXPECT_EQ(ait.version.version_number, 1);
    EXPECT_EQ(ait.version.section_number, 1);
    EXPECT_EQ(ait.version.last_section_number, 2);
    EXPECT_EQ(ait.descriptors.size(), 1U);
    ASSERT_EQ(ait.applications.size(), 2U);
    EXPECT_EQ(ait.applications[0]->organisation_id, 0x17U);
    EXPECT_EQ(ait.applications[0]->application_id, 1);
    EXPECT_EQ(ait.applications[0]->application_control_code, 1);
    const auto transport = ait.applications[0]->descriptors.find<transport_protocol_descriptor>();
    ASSERT_NE(transport, nullptr);
    EXPECT_EQ(transport->protocol_id, 3);
    EXPECT_EQ(ait.applications[1]->application_id, 0x4002);
}

TEST(AIT, RefusesApplicationsThatDoNotFillTheirLoop)
{
    Bytes bytes = golden(Roomy<CAIT>());
    bytes.resize(bytes.size() - 4);
    for (const unsigned char length : {0x1A, 0x1C}) {
        bytes[3 + 10] = length;
        Roomy<CAIT> ait;
        EXPECT_FALSE(zqtest::read(ait, zqtest::with_crc(bytes)));
    }
}
} // namespace standard_tables_test
