// SPDX-License-Identifier: LGPL-2.1-or-later
// Descriptor lists of the loops that streams are made of: read, written, copied. items_per_second are descriptors.
// Each row runs once before it is measured, so that a single counted iteration is a usual one.
// tools/count-instructions counts the instructions of a row.
#include "support/descriptor_registry.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace
{
using mpegcore::ZQDescriptorList;
using mpegcore::ZQDescriptorType;
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;
using Loop = std::vector<unsigned char>;

Loop loop_of(std::initializer_list<std::pair<unsigned char, std::string>> descriptors)
{
    Loop bytes;
    for (const auto& [tag, body] : descriptors) {
        bytes.push_back(tag);
        bytes.push_back(static_cast<unsigned char>(body.size()));
        bytes.insert(bytes.end(), body.begin(), body.end());
    }
    return bytes;
}

std::string sized(const std::string& text) { return static_cast<char>(text.size()) + text; }

// One event of a schedule: short_event, extended_event, component, content, parental_rating.
Loop event = loop_of({{0x4D, "eng" + sized("The evening programme") + sized("What happened today in town, and why.")},
                      {0x4E, "\x01"
                             "eng" +
                                 sized(sized("Director") + sized("A. Nobody") + sized("Year") + sized("2021")) +
                                 sized("A longer text that tells the story of the programme in a sentence or two.")},
                      {0x50, "\xF1\x01\x10"
                             "engvideo"},
                      {0x54, std::string("\x20\x00", 2)},
                      {0x55, "GBR\x09"}});

// One service: service, private data specifier and data (unknown tags).
Loop service = loop_of({{0x48, "\x01" + sized("Provider") + sized("Service One")},
                        {0x5F, std::string("\x00\x00\x02\x33", 4)},
                        {0xA0, "private bytes"}});

// The streams of a program: languages, component tags, teletext, subtitles, AC-3, conditional access.
Loop streams = loop_of({{0x52, "\x01"},
                        {0x0A, std::string("deu\0", 4)},
                        {0x52, "\x02"},
                        {0x6A, "\x80\x42"},
                        {0x56, std::string("deu\x09\x00", 5) + "eng\x11\x88"},
                        {0x59, std::string("deu\x10\x00\x01\x00\x01", 8)},
                        {0x09, std::string("\x06\x04\xE1\x00", 4)}});

template <class... T>
struct Filled
{
    static Loop loop()
    {
        ZQDescriptorList list;
        (append<T>(list), ...);
        Loop bytes(list.getSize());
        Writer writer(bytes.data(), bytes.size());
        list.write(writer);
        return bytes;
    }

    template <class Class>
    static void append(ZQDescriptorList& list)
    {
        // Only the classes of the dictionary that the rows read with.
        if (Class::places[0].dictionary != ZQDescriptorType::TS)
            return;
        auto descriptor = std::make_shared<Class>();
        zqtest::fill(*descriptor);
        list.append(std::move(descriptor));
    }
};

// One of each class that this dictionary has, as the tests fill it.
Loop every = mpegcore::descriptor_classes<Filled>::loop();

void read_into(ZQDescriptorList& list, Loop& loop)
{
    Reader reader(loop.data(), loop.size());
    if (!list.read(reader))
        std::abort();
}

void count_descriptors(benchmark::State& state, const ZQDescriptorList& list, const Loop& loop)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * list.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * loop.size()));
}

[[gnu::noinline]] void read_list(ZQDescriptorList& list, Loop& loop)
{
    list.clear();
    read_into(list, loop);
}

[[gnu::noinline]] std::uint64_t write_list(const ZQDescriptorList& list, Loop& room)
{
    Writer writer(room.data(), room.size());
    list.write(writer);
    writer.flush();
    return writer.bytesWritten();
}

[[gnu::noinline]] void copy_list(const ZQDescriptorList& list, ZQDescriptorList& copy)
{
    copy.clear();
    list.copyTo(copy);
}

void read(benchmark::State& state, Loop* loop)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    for (int warm = 0; warm < 2; ++warm, list.clear())
        read_into(list, *loop);
    for (auto _ : state)
        read_list(list, *loop);
    count_descriptors(state, list, *loop);
}

void write(benchmark::State& state, Loop* loop)
{
    ZQDescriptorList list(ZQDescriptorType::TS);
    read_into(list, *loop);
    Loop room(4096);
    Writer warm(room.data(), room.size());
    list.write(warm);
    for (auto _ : state)
        benchmark::DoNotOptimize(write_list(list, room));
    count_descriptors(state, list, *loop);
}

void copy(benchmark::State& state, Loop* loop)
{
    ZQDescriptorList list(ZQDescriptorType::TS), target(ZQDescriptorType::TS);
    read_into(list, *loop);
    for (int warm = 0; warm < 2; ++warm, target.clear())
        list.copyTo(target);
    for (auto _ : state)
        copy_list(list, target);
    count_descriptors(state, list, *loop);
}

BENCHMARK_CAPTURE(read, event, &event);
BENCHMARK_CAPTURE(read, service, &service);
BENCHMARK_CAPTURE(read, streams, &streams);
BENCHMARK_CAPTURE(read, every, &every);
BENCHMARK_CAPTURE(write, event, &event);
BENCHMARK_CAPTURE(write, service, &service);
BENCHMARK_CAPTURE(write, streams, &streams);
BENCHMARK_CAPTURE(write, every, &every);
BENCHMARK_CAPTURE(copy, event, &event);
BENCHMARK_CAPTURE(copy, service, &service);
BENCHMARK_CAPTURE(copy, streams, &streams);
BENCHMARK_CAPTURE(copy, every, &every);
} // namespace

BENCHMARK_MAIN();
