// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/BuiltT2MI.h"
#include "support/FlatJson.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace T2MISample_test
{
// Built T2-MI, and the recorded one in the folder ZQ_SAMPLE_DIR, against the packets and counts that must come out.

namespace fs = std::filesystem;
using zqtest::Bytes;

Bytes contents(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

void check(Bytes data, const Bytes& transport_stream, const zqtest::FlatJson::values& expected, std::size_t piece)
{
    zqtest::RecordingDecapsulator decapsulator;
    unsigned long consumed = 0;
    for (std::size_t at = 0; at < data.size(); at += piece)
        consumed += decapsulator.Process(data.data() + at, std::min(piece, data.size() - at));
    EXPECT_EQ(decapsulator.transport_stream(), transport_stream);
    EXPECT_EQ(std::to_string(consumed), expected.at("consumed"));
    EXPECT_EQ(std::to_string(decapsulator.packets.size()), expected.at("OnTS"));
    EXPECT_EQ(std::to_string(decapsulator.frames.size()), expected.at("OnBBFrame"));
    EXPECT_EQ(std::to_string(decapsulator.timestamps.size()), expected.at("OnTimeStamp"));
    EXPECT_EQ(std::to_string(decapsulator.auxiliaries.size()), expected.at("OnAuxiliaryStream"));
}

class T2MISample : public testing::TestWithParam<std::size_t>
{};

TEST_P(T2MISample, GivesExactlyTheExpectedPackets)
{
    const auto built = zqtest::built_T2MI();
    check(built.data, built.transport_stream,
          {{"consumed", std::to_string(built.data.size())},
           {"OnTS", std::to_string(built.transport_stream.size() / 188)},
           {"OnBBFrame", std::to_string(built.frames)},
           {"OnTimeStamp", std::to_string(built.timestamps)},
           {"OnAuxiliaryStream", std::to_string(built.auxiliaries)}},
          GetParam());
    if (const auto folder = zqtest::sample_folder()) {
        const std::string name = (*folder / "t2mi-plp-0").string();
        const Bytes text = contents(name + ".t2mi.expected.json");
        check(contents(name + ".ts"), contents(name + ".expected-output.ts"),
              zqtest::FlatJson::parse({text.begin(), text.end()}), GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(InPieces, T2MISample, testing::Values(std::size_t{1} << 30, std::size_t{1}, std::size_t{1316}),
                         [](const auto& piece) {
                             return piece.param == 1 ? "OfAByte" : piece.param == 1316 ? "OfADatagram" : "OfTheWhole";
                         });
} // namespace T2MISample_test
