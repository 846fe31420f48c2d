// SPDX-License-Identifier: LGPL-2.1-or-later
// Every section of whole streams, built ones and the recordings in ZQ_SAMPLE_DIR, through reading and rendering and
// through the packetizer and back.
#include "mpegcore/parser/TableRegistry.h"
#include "mpegcore/sections/SectionGatherer.h"
#include "mpegcore/sections/SectionPacketizer.h"
#include "support/BuiltStreams.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>

namespace SectionRoundTrip_test
{
using namespace mpegcore;
using zqtest::Bytes;
using zqtest::operator+;

struct Section
{
    unsigned PID;
    Bytes bytes;
};

/// The sections of a stream, also those on the PIDs that a PMT gives to an AIT or to splice information.
class SectionTaker : public CBaseMpegParser
{
public:
    explicit SectionTaker(Bytes stream) : CBaseMpegParser(true)
    {
        set_sections_by_the_standard(true);
        Process(stream.data(), stream.size());
    }

    void OnSection(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        sections.push_back({PID, Bytes(section, section + size)});
        zqtest::Roomy<CPMT> PMT;
        if (section[0] != 0x02 || !zqtest::read(PMT, sections.back().bytes))
            return;
        for (const auto& [stream_PID, stream] : PMT.streams)
            if (stream->stream_type == 0x05 || stream->stream_type == 0x86)
                static_cast<void>(add_section_PID(stream_PID));
    }

    std::vector<Section> sections;
};

/// What the class renders of what it reads; empty when it does not read the section. A copy must render the same.
template <class Table>
Bytes read_and_rendered(const Bytes& section)
{
    zqtest::Roomy<Table> table, copy;
    table.descriptor_dictionary = ZQDescriptorType::Standard;
    if (!zqtest::read(table, section))
        return {};
    table.copyTo(&copy);
    const Bytes bytes = zqtest::rendered(table);
    EXPECT_EQ(zqtest::rendered(copy), bytes);
    return bytes;
}

struct TableClass
{
    unsigned first_table_id;
    unsigned last_table_id;
    Bytes (*read_and_rendered)(const Bytes&);
};

template <class... Entry>
struct TableClasses
{
    static std::vector<TableClass> all()
    {
        return {{Entry::first_table_id, Entry::last_table_id, read_and_rendered<typename Entry::Table>}...};
    }
};

const std::vector<TableClass> classes = mpegcore::tables<TableClasses>::all();

/// PAT, PMT and SDT keep their entries by PID or service_id: the section with its entries in that order.
Bytes by_key(Bytes section)
{
    const auto word = [&section](std::size_t at) {
        return static_cast<std::size_t>(section[at] << 8 | section[at + 1]);
    };
    std::size_t at = 8, fixed = 4, key_at = 2, length_at = 0;
    if (section[0] == 0x02) {
        at = 12 + (word(10) & 0xFFF);
        fixed = 5, key_at = 1, length_at = 3;
    } else if (section[0] == 0x42 || section[0] == 0x46) {
        at = 11, fixed = 5, key_at = 0, length_at = 3;
    } else if (section[0] != 0x00) {
        return section;
    }
    const std::size_t mask = key_at == 0 ? 0xFFFF : 0x1FFF;
    Bytes ordered(section.begin(), section.begin() + static_cast<std::ptrdiff_t>(at));
    std::map<std::size_t, Bytes> entries;
    while (at + fixed + 4 <= section.size()) {
        const std::size_t size = fixed + (length_at == 0 ? 0 : word(at + length_at) & 0xFFF);
        const auto begin = section.begin() + static_cast<std::ptrdiff_t>(at);
        entries[word(at + key_at) & mask] = Bytes(begin, begin + static_cast<std::ptrdiff_t>(size));
        at += size;
    }
    for (const auto& [key, entry] : entries)
        ordered.insert(ordered.end(), entry.begin(), entry.end());
    return zqtest::with_crc(ordered);
}

std::vector<TableClass>::const_iterator class_of(const Section& section)
{
    return std::find_if(classes.begin(), classes.end(), [id = section.bytes[0]](const TableClass& one) {
        return one.first_table_id <= id && id <= one.last_table_id;
    });
}

void expect_to_be_read_and_rendered(const std::vector<Section>& sections)
{
    for (const auto& section : sections) {
        const auto found = class_of(section);
        if (found == classes.end()) // a private table
            continue;
        EXPECT_EQ(found->read_and_rendered(section.bytes), by_key(section.bytes))
            << "table_id " << +section.bytes[0] << " on PID " << section.PID;
    }
}

void expect_to_come_through_packets(const std::vector<Section>& sections, SectionFill fill)
{
    std::map<unsigned, std::vector<Bytes>> by_PID;
    for (const auto& section : sections)
        by_PID[section.PID].push_back(section.bytes);
    for (const auto& [PID, sent] : by_PID) {
        std::vector<Bytes> received;
        SectionGatherer gatherer;
        const auto receive = [&](const unsigned char* packet) {
            gatherer.put(packet, [&](const unsigned char* section, std::size_t size, SectionCheck check) {
                EXPECT_EQ(check, SectionCheck::good);
                received.emplace_back(section, section + size);
            });
        };
        SectionPacketizer packetizer(static_cast<std::uint16_t>(PID), fill);
        for (const auto& section : sent)
            EXPECT_TRUE(packetizer.put(section.data(), section.size(), receive));
        packetizer.flush(receive);
        EXPECT_EQ(received, sent) << "PID " << PID;
    }
}

void expect_round_trips(const std::vector<Section>& sections)
{
    ASSERT_FALSE(sections.empty());
    expect_to_be_read_and_rendered(sections);
    expect_to_come_through_packets(sections, SectionFill::stuffing);
    expect_to_come_through_packets(sections, SectionFill::packing);
}

/// The body of a section that holds a loop of descriptors, by the dictionary that the loop is read with.
Bytes body_with(ZQDescriptorType dictionary, const Bytes& loop)
{
    const Bytes version{0x00, 0x10, 0xC3, 0x00, 0x00};
    const Bytes none{0xF0, 0x00};
    if (dictionary == ZQDescriptorType::StandardAIT)
        return version + zqtest::length_field(loop.size()) + loop + none;
    if (dictionary == ZQDescriptorType::StandardSCTE35)
        return Bytes{0x00, 0x00, 0, 0, 0, 0, 0x00, 0xFF, 0xF0, 0x00, 0x00} + zqtest::length_field(loop.size(), 0) +
               loop;
    return version + zqtest::length_field(loop.size()) + loop + none;
}

template <class... Descriptors>
struct LoopOfEach
{
    /// A section for each class that the dictionary has, with one descriptor as the registry's fill makes it.
    static std::vector<Section> sections(ZQDescriptorType dictionary, unsigned table_id, unsigned flags)
    {
        std::vector<Section> sections;
        (add<Descriptors>(sections, dictionary, table_id, flags), ...);
        return sections;
    }

private:
    template <class Descriptor>
    static void add(std::vector<Section>& sections, ZQDescriptorType dictionary, unsigned table_id, unsigned flags)
    {
        for (const DescriptorPlace& place : Descriptor::places)
            if (place.dictionary == dictionary && place.first_specifier == 0) {
                Descriptor filled;
                zqtest::fill(filled);
                filled.descriptor_tag = place.tag;
                sections.push_back({0x0010, zqtest::section_of(static_cast<unsigned char>(table_id),
                                                               body_with(dictionary, zqtest::written(filled)),
                                                               static_cast<unsigned char>(flags))});
            }
    }
};

TEST(SectionRoundTrip, OfBuiltStreamsIsWhole)
{
    for (const auto& [name, stream] : zqtest::built_streams()) {
        SCOPED_TRACE(name);
        expect_round_trips(SectionTaker(stream.data()).sections);
    }
}

TEST(SectionRoundTrip, OfEveryDescriptorByTheStandardsIsWhole)
{
    using each = descriptor_classes<LoopOfEach>;
    for (const auto& sections : {each::sections(ZQDescriptorType::Standard, 0x40, 0xF),
                                 each::sections(ZQDescriptorType::StandardAIT, 0x74, 0xF),
                                 each::sections(ZQDescriptorType::StandardSCTE35, 0xFC, 0x3)})
    {
        for (const auto& section : sections)
            ASSERT_NE(class_of(section), classes.end());
        expect_round_trips(sections);
    }
}

TEST(SectionRoundTrip, OfRecordedStreamsIsWhole)
{
    const auto names = zqtest::sample_names(".ts");
    if (names.empty())
        GTEST_SKIP() << "ZQ_SAMPLE_DIR names no folder with samples";
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        const std::string data = zqtest::contents(name + ".ts");
        expect_round_trips(SectionTaker(Bytes(data.begin(), data.end())).sections);
    }
}
} // namespace SectionRoundTrip_test
