// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts the descriptors of recordings by tag: how many there are, how many the dictionaries TS and SCTE35 give a class
// of their own, and how many those by the standards. Each section counts once in a file, however often it comes.
#include "mpegcore/AIT.h"
#include "mpegcore/BaseMpegParser.h"
#include "mpegcore/PrivateSection.h"
#include "mpegcore/SIT.h"
#include "mpegcore/SpliceInfoSection.h"
#include "mpegcore/text/Meanings.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace
{
using namespace mpegcore;

constexpr unsigned char extension_tag = 0x7F;

/// Where tags mean something of their own, and the stated dictionary that is compared there.
struct Space
{
    std::string_view name;
    std::string_view structure; ///< that meaning_of needs
    ZQDescriptorType stated;
};
constexpr Space transport_stream{"", "", ZQDescriptorType::TS};
constexpr Space application{"AIT ", "application_information_section", ZQDescriptorType::TS};
constexpr Space splice{"splice ", "splice_info_section", ZQDescriptorType::SCTE35};

bool is_generic(const base_descriptor& descriptor)
{
    return typeid(descriptor) == typeid(base_descriptor) || typeid(descriptor) == typeid(extension_descriptor);
}

std::vector<unsigned char> written(const base_descriptor& descriptor)
{
    std::vector<unsigned char> bytes(2U + descriptor.descriptor_length);
    ZQSDK::ZQBSWriterT<unsigned char*> writer(bytes.data(), bytes.size());
    static_cast<void>(descriptor.write(writer));
    return bytes;
}

class Count
{
public:
    void put(const ZQDescriptorList& list, const Space& space)
    {
        for (const auto& descriptor : list)
            put(*descriptor, space);
    }

    void print() const
    {
        Row all;
        std::printf("| Tag | Name | Descriptors | Class as stated | Class by the standards |\n|---|---|---|---|---|\n");
        for (const auto& [tag, row] : m_rows) {
            std::printf("| %s | %s | %u | %u | %u |\n", tag.c_str(), row.name.c_str(), row.all, row.stated,
                        row.standard);
            all.all += row.all;
            all.stated += row.stated;
            all.standard += row.standard;
        }
        const auto share = [&all](unsigned part) { return all.all == 0 ? 0.0 : 100.0 * part / all.all; };
        std::printf("| all | | %u | %u (%.1f %%) | %u (%.1f %%) |\n", all.all, all.stated, share(all.stated),
                    all.standard, share(all.standard));
    }

private:
    struct Row
    {
        std::string name;
        unsigned all = 0;
        unsigned stated = 0;
        unsigned standard = 0;
    };

    void put(const base_descriptor& descriptor, const Space& space)
    {
        std::vector<unsigned char> bytes = written(descriptor);
        const unsigned char extension = bytes.size() > 2 ? bytes[2] : 0;
        const bool has_extension = space.structure.empty() && descriptor.descriptor_tag == extension_tag;
        char tag[16];
        std::snprintf(tag, sizeof tag, has_extension ? "0x%02X/0x%02X" : "0x%02X", descriptor.descriptor_tag,
                      extension);
        Row& row = m_rows[std::string(space.name) + tag];
        row.name = space.structure.empty() ? descriptor_name(descriptor.descriptor_tag, extension)
                                           : meaning_of("descriptor_tag", descriptor.descriptor_tag, space.structure);
        ++row.all;
        row.standard += is_generic(descriptor) ? 0 : 1;
        ZQDescriptorList stated(space.stated);
        ZQSDK::ZQBSReaderT<unsigned char*> reader(bytes.data(), bytes.size());
        row.stated += stated.read(reader) && !stated.empty() && !is_generic(**stated.begin()) ? 1 : 0;
    }

    std::map<std::string, Row> m_rows;
};

void put_loops(const CBaseMpegTable& table, Count& count)
{
    const auto put_all = [&count](const auto& entries, const Space& space = transport_stream) {
        for (const auto& entry : entries)
            count.put(entry->descriptors, space);
    };
    if (const auto* loop = dynamic_cast<const CDescriptorTable*>(&table)) {
        count.put(loop->descriptors, transport_stream);
    } else if (const auto* pmt = dynamic_cast<const CPMT*>(&table)) {
        count.put(pmt->descriptors, transport_stream);
        for (const auto& [PID, stream] : pmt->streams)
            count.put(stream->descriptors, transport_stream);
    } else if (const auto* nit = dynamic_cast<const CNIT*>(&table)) {
        count.put(nit->network_descriptors, transport_stream);
        put_all(nit->transport_streams);
    } else if (const auto* bat = dynamic_cast<const CBAT*>(&table)) {
        count.put(bat->bouquet_descriptors, transport_stream);
        for (const auto& stream : bat->transport_streams)
            count.put(stream->transport_descriptors, transport_stream);
    } else if (const auto* sdt = dynamic_cast<const CSDT*>(&table)) {
        for (const auto& [service_id, service] : sdt->services)
            count.put(service->descriptors, transport_stream);
    } else if (const auto* eit = dynamic_cast<const CEIT*>(&table)) {
        put_all(eit->events);
    } else if (const auto* tot = dynamic_cast<const CTOT*>(&table)) {
        count.put(tot->descriptors, transport_stream);
    } else if (const auto* sit = dynamic_cast<const CSIT*>(&table)) {
        count.put(sit->descriptors, transport_stream);
        put_all(sit->services);
    } else if (const auto* ait = dynamic_cast<const CAIT*>(&table)) {
        count.put(ait->descriptors, application);
        put_all(ait->applications, application);
    } else if (const auto* info = dynamic_cast<const CSpliceInfoSection*>(&table)) {
        count.put(info->descriptors, splice);
    }
}

/// The sections of a stream, also those on the PIDs that a PMT gives to an AIT or to splice information.
class Sections : public CBaseMpegParser
{
public:
    explicit Sections(Count& count) : CBaseMpegParser(true), m_count(count) { set_sections_by_the_standard(true); }

    void put(const unsigned char* section, std::size_t size)
    {
        if (!m_known.emplace(reinterpret_cast<const char*>(section), size).second)
            return;
        const auto table = table_of_section(section, size);
        if (table == nullptr)
            return;
        put_loops(*table, m_count);
        if (const auto* pmt = dynamic_cast<const CPMT*>(table.get()))
            for (const auto& [PID, stream] : pmt->streams)
                if (stream->stream_type == 0x05 || stream->stream_type == 0x86)
                    static_cast<void>(add_section_PID(PID));
    }

    void OnSection(unsigned short /*PID*/, const unsigned char* section, unsigned long size) override
    {
        put(section, size);
    }

private:
    Count& m_count;
    std::set<std::string> m_known;
};

/// Sections one behind the other, as bytes.
void put_sections(const std::string& data, Sections& sections)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data.data());
    for (std::size_t at = 0; data.size() - at >= 3;) {
        const std::size_t size = 3U + ((bytes[at + 1] & 0x0FU) << 8U | bytes[at + 2]);
        if (size > data.size() - at)
            return;
        sections.put(bytes + at, size);
        at += size;
    }
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr,
                     "Usage: count-descriptors FILE...\n\nTransport streams of 188-byte packets, and files that "
                     "end in .bin with sections one behind the other.\n");
        return 2;
    }
    Count count;
    for (int at = 1; at < argc; ++at) {
        std::ifstream file(argv[at], std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "count-descriptors: cannot read %s\n", argv[at]);
            return 1;
        }
        std::string data{std::istreambuf_iterator<char>(file), {}};
        Sections sections(count);
        const std::string_view name = argv[at];
        if (name.size() >= 4 && name.substr(name.size() - 4) == ".bin")
            put_sections(data, sections);
        else
            sections.Process(reinterpret_cast<unsigned char*>(data.data()), data.size());
    }
    count.print();
    return 0;
}
