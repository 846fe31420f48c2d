// SPDX-License-Identifier: LGPL-2.1-or-later
// Printing tables: tables a second, and bytes of what was printed a second. A schedule section as broadcasters send it,
// full of texts, and a service description of short names.
#include "mpegcore/EIT.h"
#include "mpegcore/SDT.h"
#include "mpegcore/TablePrinter.h"
#include "mpegcore/descriptors/DescriptorRegistry.h"

#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

namespace
{
using namespace mpegcore;

template <std::size_t N>
std::uint8_t put(std::array<unsigned char, N>& storage, std::string_view text)
{
    std::copy(text.begin(), text.end(), storage.begin());
    return static_cast<std::uint8_t>(text.size());
}

struct Schedule : CEIT
{
    Schedule() : CEIT(nullptr, 4096)
    {
        table_id = 0x50;
        for (std::uint16_t id = 0; id < 8; ++id) {
            auto event = std::make_shared<CEventInfo>();
            event->event_id = id;
            event->start_time = 0xC079124500;
            event->duration = 0x013000;
            auto text = std::make_shared<short_event_descriptor>();
            text->ISO_639_language_code = {'d', 'e', 'u'};
            text->event_name_length = put(text->event_name_char, "\x05"
                                                                 "Die Abendschau aus M\xFCnchen");
            text->text_length = put(text->text_char, "\x05"
                                                     "Nachrichten, Wetter und Gespr\xE4"
                                                     "che mit G\xE4sten aus der Region");
            event->descriptors.append(text);
            auto rating = std::make_shared<parental_rating_descriptor>();
            rating->entries = {{{'D', 'E', 'U'}, 9}};
            event->descriptors.append(rating);
            events.push_back(event);
        }
    }
};

struct Services : CSDT
{
    Services() : CSDT(nullptr, 1024)
    {
        table_id = 0x42;
        for (std::uint16_t id = 1; id <= 10; ++id) {
            auto service = std::make_shared<CServiceDescriptionSection>();
            service->service_id = id;
            auto name = std::make_shared<service_descriptor>();
            name->service_type = 0x19;
            name->service_provider_name_length = put(name->service_provider_name, "Provider");
            name->service_name_length = put(name->service_name, "Programme HD");
            service->descriptors.append(name);
            services[id] = service;
        }
    }
};

template <class Append>
void print(benchmark::State& state, Append&& append)
{
    std::string out;
    std::int64_t bytes = 0;
    for (auto _ : state) {
        out.clear();
        append(out);
        benchmark::DoNotOptimize(out.data());
        bytes += static_cast<std::int64_t>(out.size());
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(bytes);
}

template <class Table>
void json(benchmark::State& state)
{
    const Table table;
    print(state, [&](std::string& out) { append_json(out, table); });
}

template <class Table>
void text(benchmark::State& state)
{
    const Table table;
    print(state, [&](std::string& out) { append_text(out, table); });
}

BENCHMARK(json<Schedule>)->Name("json/schedule");
BENCHMARK(json<Services>)->Name("json/services");
BENCHMARK(text<Schedule>)->Name("text/schedule");
BENCHMARK(text<Services>)->Name("text/services");
} // namespace

BENCHMARK_MAIN();
