// SPDX-License-Identifier: LGPL-2.1-or-later
// A section as in the tables target, read into a table and printed; the first classes are tables, then come those that
// read the bytes as a loop of descriptors, and last the class that the table_id has by the standards. Whatever the
// bytes, JSON is one valid line without a key twice in an object, and text has no control characters but line breaks.
#include "fuzz/RepairedSection.h"
#include "mpegcore/PrivateSection.h"
#include "mpegcore/TablePrinter.h"
#include "support/StrictJson.h"

#include <cstdlib>
#include <iterator>
#include <vector>

namespace json_target
{
using namespace mpegcore;
using zqfuzz::RepairedSection;

void require(bool held)
{
    if (!held)
        std::abort();
}

template <class Structure>
void print(const Structure& structure)
{
    require(zqtest::strict_json(to_json(structure)).has_value());
    for (const char letter : to_text(structure))
        require(letter == '\n' || static_cast<unsigned char>(letter) >= 0x20);
}

template <class Table>
void print_table(RepairedSection& section)
{
    Table table(nullptr, zqfuzz::largest_section);
    typename Table::Reader reader(section.bytes.data(), section.size);
    // What is refused has kept its fields up to the bad one, which must print, too.
    static_cast<void>(table.read(reader));
    print(static_cast<const CBaseMpegTable&>(table));
}

template <ZQDescriptorType Type>
void print_descriptors(RepairedSection& section)
{
    ZQDescriptorList list(Type);
    ZQSDK::ZQBSReaderT<unsigned char*> reader(section.bytes.data(), section.size);
    static_cast<void>(list.read(reader));
    for (const auto& descriptor : list)
        print(*descriptor);
}

void print_section(RepairedSection& section)
{
    const auto table = table_of_section(section.bytes.data(), section.size);
    require(table == nullptr || section.size >= 3);
    if (table != nullptr)
        print(*table);
}

using target = void (*)(RepairedSection&);

template <class... Tables>
struct Targets
{
    static constexpr target all[]{print_table<Tables>...,
                                  print_descriptors<ZQDescriptorType::TS>,
                                  print_descriptors<ZQDescriptorType::SCTE35>,
                                  print_descriptors<ZQDescriptorType::Standard>,
                                  print_descriptors<ZQDescriptorType::StandardSCTE35>,
                                  print_descriptors<ZQDescriptorType::StandardAIT>,
                                  print_section};
};
using targets = table_classes<Targets>;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (!RepairedSection::takes(size))
        return 0;
    RepairedSection section(data, size, std::size(targets::all));
    targets::all[section.pick](section);
    return 0;
}
} // namespace json_target
