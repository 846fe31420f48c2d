// SPDX-License-Identifier: LGPL-2.1-or-later
// Reader, writer, accumulator and CRC against naive models. The first byte picks the subject (low 2 bits) and the
// distance of the memory from an 8-byte boundary (next 3 bits).
#include "mpegcore/CRC.h"
#include "mpegcore/DataAccumulator.h"
#include "mpegcore/crc/CRC32Kernel.h"
#include "support/BitModel.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace bits_target
{
using Reader = ZQSDK::ZQBSReaderT<unsigned char*>;
using Writer = ZQSDK::ZQBSWriterT<unsigned char*>;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

struct input
{
    const std::uint8_t* data;
    std::size_t size;

    bool empty() const { return size == 0; }
    std::uint8_t byte()
    {
        if (empty())
            return 0;
        --size;
        return *data++;
    }
    input part(std::size_t bytes)
    {
        const input first{data, std::min(bytes, size)};
        data += first.size;
        size -= first.size;
        return first;
    }
};

/// Memory that ends with its heap block and starts `offset` bytes into it.
struct placed
{
    placed(std::size_t offset, std::size_t bytes) : block(new unsigned char[offset + bytes]), data(block.get() + offset)
    {}
    std::unique_ptr<unsigned char[]> block;
    unsigned char* data;
};

constexpr std::uint64_t untouched = 0x5A5A5A5A5A5A5A5A;

/// One fixed-width read or look; returns its result and stores into the value.
using fixed_read = bool (*)(Reader&, std::uint64_t&);
using fixed_write = bool (*)(Writer&, std::uint64_t);

template <std::size_t... N>
constexpr std::array<fixed_read, sizeof...(N)> fixed_gets(std::index_sequence<N...>)
{
    return {[](Reader& reader, std::uint64_t& value) { return reader.getBits<N>(value); }...};
}
template <std::size_t... N>
constexpr std::array<fixed_read, sizeof...(N)> fixed_looks(std::index_sequence<N...>)
{
    return {[](Reader& reader, std::uint64_t& value) { return reader.lookBits<N>(value); }...};
}
template <std::size_t... N>
constexpr std::array<fixed_write, sizeof...(N)> fixed_puts(std::index_sequence<N...>)
{
    return {[](Writer& writer, std::uint64_t value) { return writer.putBits<N>(value); }...};
}
constexpr auto gets = fixed_gets(std::make_index_sequence<67>());
constexpr auto looks = fixed_looks(std::make_index_sequence<67>());
constexpr auto puts = fixed_puts(std::make_index_sequence<67>());

void read_field(Reader& reader, zqtest::BitReaderModel& model, unsigned kind, unsigned width)
{
    std::uint64_t value = untouched;
    bool model_whole = false;
    auto ahead = model;
    const auto expected = (kind == 2 ? ahead : model).get(std::min(width, 64U), model_whole);
    if (kind == 3) {
        value = reader.getBits(width);
        require(value == (model_whole ? *expected : 0));
        return;
    }
    const bool whole = kind == 0   ? gets[width](reader, value)
                       : kind == 1 ? reader.getBits(width, value)
                                   : looks[width](reader, value);
    require(whole == model_whole && value == expected.value_or(untouched));
}

void reader_against_model(std::size_t offset, input in)
{
    auto steps = in.part(in.byte() % 32);
    const placed bytes(offset, in.size);
    std::copy_n(in.data, in.size, bytes.data);
    Reader reader(bytes.data, in.size);
    zqtest::BitReaderModel model(bytes.data, in.size);
    while (!steps.empty()) {
        const unsigned step = steps.byte();
        if (step < 192) {
            read_field(reader, model, step / 48, steps.byte() % 67);
        } else if (step < 224) {
            require(reader.skipBytes(step - 192) == model.skip(step - 192));
        } else if (step < 240) {
            const std::uint64_t length = step - 224;
            const bool fits = reader.readLimited(length, [&](Reader& part) {
                zqtest::BitReaderModel part_model(reader.position(), length);
                require(part.position() == reader.position() && part.availableBytes() == length);
                read_field(part, part_model, 0, 40);
                return true;
            });
            require(fits == model.skip(length));
        } else {
            const auto behind = in.size - reader.bytesLeft();
            const bool loads = reader.bytesLeft() != 0 && step != 240;
            reader.updateCache(step - 240);
            if (loads)
                require(model.skip(behind - model.position()));
        }
        require(reader.availableBytes() == model.available());
        require(reader.position() == bytes.data + model.position());
        require(reader.bitsLeft() <= 64 && (reader.bitsLeft() != 0 || reader.bytesLeft() == 0));
    }
}

void writer_against_model(std::size_t offset, input in)
{
    const std::size_t size = in.byte() % 41;
    const placed bytes(offset, size);
    std::fill_n(bytes.block.get(), offset + size, static_cast<unsigned char>(0xEE));
    zqtest::BitWriterModel model(size);
    {
        Writer writer(bytes.data, size);
        std::uint64_t noise = size;
        while (!in.empty()) {
            const unsigned width = in.byte() % 67, kept = std::min(width, 64U), kind = in.byte() % 16;
            noise = noise * 6364136223846793005U + width + 1;
            const std::uint64_t value = noise & ZQSDK::mask_impl[kept];
            if (kind == 0) {
                writer.flush();
                model.flush();
            } else if (kind == 1) {
                unsigned long pending = width;
                while (pending != 0 && writer.putBitsToCach(pending, value)) {
                }
                require((pending == 0) == (model.put(value, kept) || kept == 0));
            } else if (kind < 8) {
                require(puts[width](writer, value) == model.put(value, kept));
            } else {
                require(writer.putBits(value, static_cast<unsigned char>(width)) == model.put(value, kept));
            }
            require(writer.bytesWritten() + writer.bytesLeft() == size);
            require(writer.bytesWritten() + (writer.bitsHeld() + 7) / 8 == model.written());
        }
    }
    require(std::equal(bytes.data, bytes.data + model.written(), model.bytes().begin()));
    const auto untouched_byte = [](unsigned char byte) { return byte == 0xEE; };
    require(std::all_of(bytes.data + model.written(), bytes.data + size, untouched_byte));
    require(std::all_of(bytes.block.get(), bytes.data, untouched_byte));
}

void accumulator_against_vector(input in)
{
    const std::size_t start = in.byte();
    mpegcore::CDataAccumulator accumulator(start);
    std::size_t capacity = start == 0 ? 4095 : start;
    std::vector<unsigned char> expected;
    while (!in.empty()) {
        const std::size_t step = in.byte();
        if (step >= 0xF0) {
            const std::size_t wanted = (step & 0x0F) * 100;
            accumulator.reserve(wanted);
            capacity = std::max(capacity, wanted);
        } else {
            const std::vector<unsigned char> added(step * 4, in.byte());
            if (expected.size() + added.size() > capacity)
                capacity = expected.size() + added.size() + 4095;
            accumulator.addData(added.data(), added.size());
            expected.insert(expected.end(), added.begin(), added.end());
        }
        require(accumulator.capacity == capacity && accumulator.size == expected.size());
    }
    require(std::equal(expected.begin(), expected.end(), accumulator.data));
}

void crc_against_bytewise(std::size_t offset, input in)
{
    std::uint32_t start = 0;
    for (int byte = 0; byte < 4; ++byte)
        start = start << 8 | in.byte();
    const std::size_t repeated = in.size * (1 + in.byte() % 16U);
    const std::size_t size = in.empty() ? 0 : repeated;
    const placed bytes(offset, size);
    for (std::size_t at = 0; at < size; ++at)
        bytes.data[at] = static_cast<unsigned char>(in.data[at % in.size] + at / in.size);

    const std::uint32_t expected = mpegcore::crc32_mpeg2_bytewise(bytes.data, size, start);
    require(mpegcore::crc32_mpeg2(bytes.data, size, start) == expected);
    for (const auto& kernel : mpegcore::detail::crc32_kernels)
        if (kernel.runs_here())
            require(kernel.run(bytes.data, size, start) == expected);
    const std::size_t cut = size == 0 ? 0 : start % size;
    require(mpegcore::crc32_mpeg2(bytes.data + cut, size - cut, mpegcore::crc32_mpeg2(bytes.data, cut, start)) ==
            expected);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    input in{data, size};
    const unsigned subject = in.byte();
    const std::size_t offset = subject >> 2 & 7U;
    switch (subject & 3U) {
    case 0:
        reader_against_model(offset, in);
        break;
    case 1:
        writer_against_model(offset, in);
        break;
    case 2:
        accumulator_against_vector(in);
        break;
    default:
        crc_against_bytewise(offset, in);
        break;
    }
    return 0;
}
} // namespace bits_target
