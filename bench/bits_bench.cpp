// SPDX-License-Identifier: LGPL-2.1-or-later
// Bit reader and writer against a plain byte-wise pair, and the CRC-32 in every way this processor has.
// tools/count-instructions counts the instructions of a row.
#include "mpegcore/CRC.h"
#include "mpegcore/crc/CRC32Kernel.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace
{
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;

constexpr std::size_t range_size = 4096;

// Filled before main, so that counting the instructions of one benchmark function counts nothing else.
std::vector<unsigned char> noise = [] {
    std::mt19937 random(1);
    std::vector<unsigned char> bytes(8192);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}();
std::vector<unsigned char> written(range_size);

/// Time per field, in seconds with a unit prefix.
benchmark::Counter per_field(const benchmark::State& state, std::int64_t fields_per_iteration)
{
    return {static_cast<double>(state.iterations() * fields_per_iteration),
            benchmark::Counter::kIsRate | benchmark::Counter::kInvert};
}

/// A byte-wise reader and writer as one writes them without a cache: one bit position, a byte touched at a time.
class BytewiseReader
{
public:
    BytewiseReader(const unsigned char* data, std::size_t size) : m_data(data), m_bits(8 * size) {}

    template <unsigned N, class T>
    bool getBits(T& out)
    {
        if (m_at + N > m_bits)
            return false;
        std::uint64_t value = 0;
        for (unsigned needed = N; needed != 0;) {
            const unsigned in_byte = 8 - m_at % 8;
            const unsigned taken = needed < in_byte ? needed : in_byte;
            value = value << taken | (m_data[m_at / 8] >> (in_byte - taken) & ((1U << taken) - 1));
            m_at += taken;
            needed -= taken;
        }
        out = static_cast<T>(value);
        return true;
    }

private:
    const unsigned char* m_data;
    std::size_t m_bits;
    std::size_t m_at = 0;
};

class BytewiseWriter
{
public:
    BytewiseWriter(unsigned char* data, std::size_t size) : m_data(data), m_bits(8 * size) {}

    template <unsigned N, class T>
    bool putBits(T field)
    {
        if (m_at + N > m_bits)
            return false;
        const std::uint64_t value = field;
        for (unsigned pending = N; pending != 0;) {
            const unsigned in_byte = 8 - m_at % 8;
            const unsigned placed = pending < in_byte ? pending : in_byte;
            const auto mask = ((1U << placed) - 1) << (in_byte - placed);
            const auto bits = static_cast<unsigned>(value >> (pending - placed)) << (in_byte - placed);
            m_data[m_at / 8] = static_cast<unsigned char>((m_data[m_at / 8] & ~mask) | (bits & mask));
            m_at += placed;
            pending -= placed;
        }
        return true;
    }

private:
    unsigned char* m_data;
    std::size_t m_bits;
    std::size_t m_at = 0;
};

/// The fields of a section entry: 3, 13, 4, 12 bits and so on, 8 fields in 8 bytes.
struct fields
{
    std::uint8_t reserved, flag, reserved2, version, type;
    std::uint16_t pid, length, id;
    static constexpr std::int64_t count = 8;

    template <class In>
    bool read(In& in)
    {
        return in.template getBits<3>(reserved) && in.template getBits<13>(pid) && in.template getBits<4>(reserved2) &&
               in.template getBits<12>(length) && in.template getBits<16>(id) && in.template getBits<8>(type) &&
               in.template getBits<1>(flag) && in.template getBits<7>(version);
    }

    template <class Out>
    bool write(Out& out) const
    {
        return out.template putBits<3>(reserved) && out.template putBits<13>(pid) &&
               out.template putBits<4>(reserved2) && out.template putBits<12>(length) && out.template putBits<16>(id) &&
               out.template putBits<8>(type) && out.template putBits<1>(flag) && out.template putBits<7>(version);
    }
};

template <class In>
void read_fields(benchmark::State& state)
{
    for (auto _ : state) {
        In in(noise.data(), range_size);
        fields record;
        while (record.read(in))
            benchmark::DoNotOptimize(record);
    }
    state.counters["per_field"] = per_field(state, range_size / 8 * fields::count);
}

template <class Out>
void write_fields(benchmark::State& state)
{
    const fields record{5, 1, 9, 77, 0xA5, 0x1ABC, 0xDEF, 0x1234};
    for (auto _ : state) {
        Out out(written.data(), range_size);
        auto source = record;
        do
            benchmark::DoNotOptimize(source);
        while (source.write(out));
        benchmark::ClobberMemory();
    }
    state.counters["per_field"] = per_field(state, range_size / 8 * fields::count);
}

void crc(benchmark::State& state, mpegcore::detail::CRC32Kernel::function run, std::size_t size)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(run(noise.data(), size, 0xFFFFFFFF));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

BENCHMARK_TEMPLATE(read_fields, BytewiseReader)->Name("read/bytewise");
BENCHMARK_TEMPLATE(read_fields, Reader)->Name("read/shipped");
BENCHMARK_TEMPLATE(write_fields, BytewiseWriter)->Name("write/bytewise");
BENCHMARK_TEMPLATE(write_fields, Writer)->Name("write/shipped");

/// Prints each row's ratio to the byte-wise row of its group behind the table.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            const std::string name = run.benchmark_name();
            const auto group = name.substr(0, name.rfind('/'));
            if (name == group + "/bytewise")
                m_base = run.GetAdjustedCPUTime();
            else if (run.run_type == Run::RT_Iteration && m_base > 0)
                std::printf("%s takes 1/%.1f of the time of %s/bytewise\n", name.c_str(),
                            m_base / run.GetAdjustedCPUTime(), group.c_str());
        }
    }

private:
    double m_base = 0;
};
} // namespace

int main(int argc, char** argv)
{
    for (const std::size_t size : {184, 1024, 8192}) {
        const std::string group = "crc32/" + std::to_string(size) + "/";
        const auto add = [&](const std::string& name, auto run) {
            benchmark::RegisterBenchmark((group + name).c_str(), crc, run, size);
        };
        add("bytewise", mpegcore::crc32_mpeg2_bytewise);
        for (const auto& kernel : mpegcore::detail::crc32_kernels)
            if (kernel.runs_here())
                add(kernel.name, kernel.run);
        add("shipped", mpegcore::crc32_mpeg2);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
