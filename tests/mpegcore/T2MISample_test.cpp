// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/FlatJson.h"
#include "support/Samples.h"
#include "support/T2MI.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

// The recorded T2-MI in the folder ZQ_SAMPLE_DIR against the packets and counts that must come out.

namespace
{
namespace fs = std::filesystem;
using zqtest::Bytes;

Bytes contents(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

class T2MISample : public testing::TestWithParam<std::size_t>
{};
} // namespace

TEST_P(T2MISample, GivesExactlyTheExpectedPackets)
{
    const auto folder = zqtest::sample_folder();
    if (!folder)
        GTEST_SKIP() << "ZQ_SAMPLE_DIR names no folder with samples";
    const fs::path name = *folder / "t2mi-plp-0";
    Bytes data = contents(name.string() + ".ts");
    zqtest::RecordingDecapsulator decapsulator;
    unsigned long consumed = 0;
    for (std::size_t at = 0; at < data.size(); at += GetParam())
        consumed += decapsulator.Process(data.data() + at, std::min(GetParam(), data.size() - at));
    EXPECT_EQ(decapsulator.transport_stream(), contents(name.string() + ".expected-output.ts"));

    const Bytes text = contents(name.string() + ".t2mi.expected.json");
    const auto expected = zqtest::FlatJson::parse({text.begin(), text.end()});
    EXPECT_EQ(std::to_string(consumed), expected.at("consumed"));
    EXPECT_EQ(std::to_string(decapsulator.packets.size()), expected.at("OnTS"));
    EXPECT_EQ(std::to_string(decapsulator.frames.size()), expected.at("OnBBFrame"));
    EXPECT_EQ(std::to_string(decapsulator.timestamps.size()), expected.at("OnTimeStamp"));
    EXPECT_EQ(std::to_string(decapsulator.auxiliaries.size()), expected.at("OnAuxiliaryStream"));
}

INSTANTIATE_TEST_SUITE_P(InPieces, T2MISample, testing::Values(std::size_t{1} << 30, std::size_t{1}, std::size_t{1316}),
                         [](const auto& piece) {
                             return piece.param == 1 ? "OfAByte" : piece.param == 1316 ? "OfADatagram" : "OfTheWhole";
                         });
