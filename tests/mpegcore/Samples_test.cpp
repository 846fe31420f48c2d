// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/BuiltStreams.h"
#include "support/FlatJson.h"
#include "support/RecordingParser.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace Samples_test
{
// Streams against the number of every callback and one line per table: built ones, of which the builder says what must
// come, and the recorded ones in the folder ZQ_SAMPLE_DIR, where NAME.expected.json and NAME.tables.txt say it.

using zqtest::FlatJson;
using zqtest::RecordingParser;

/// Puts the parser's message into the lines, where it came.
class SampleParser : public RecordingParser
{
public:
    using RecordingParser::RecordingParser;

    void OnProcess(unsigned int number, packet& p) override
    {
        RecordingParser::OnProcess(number, p);
        std::fflush(stdout);
        const auto written = lseek(STDOUT_FILENO, 0, SEEK_CUR);
        if (written == m_written)
            return;
        m_written = written;
        ++count["eit_pkt_skip_lines"];
        lines.push_back(std::to_string(index) + " \"mpegcore: eit pkt skip\"");
    }

private:
    off_t m_written = 0;
};

RecordingParser::counts expected_counts(const std::filesystem::path& path)
{
    RecordingParser::counts counts;
    for (const auto& [name, value] : FlatJson::parse(zqtest::contents(path))) {
        const auto group = name.substr(0, name.find('/'));
        for (const char* compared : {"consumed", "bytes_skipped_looking_for_sync", "callbacks", "eit_pkt_skip_lines",
                                     "callbacks_by_table_id", "OnPES_per_pid", "OnPCR_per_pid", "OnECM_per_pid",
                                     "OnEMM_per_pid", "onOtherPid_per_pid", "bitrate_at_end"})
            if (group == compared)
                counts[name] = std::stol(value);
    }
    return counts;
}

/// What must come of a stream.
struct Expected
{
    RecordingParser::counts counts;
    std::vector<std::string> lines;
};

void check(const std::string& name, std::string data, const Expected& expected, std::size_t piece)
{
    SCOPED_TRACE(name + " in pieces of " + std::to_string(piece));
    SampleParser parser(true);
    long consumed = 0;
    testing::internal::CaptureStdout();
    for (std::size_t at = 0; at < data.size(); at += piece)
        consumed += static_cast<long>(
            parser.Process(reinterpret_cast<unsigned char*>(data.data()) + at, std::min(piece, data.size() - at)));
    static_cast<void>(testing::internal::GetCapturedStdout());

    auto& counts = parser.count;
    counts["consumed"] = consumed;
    counts["bytes_skipped_looking_for_sync"] = consumed - 188 * counts["callbacks/OnPreProcess"];
    counts["eit_pkt_skip_lines"] += 0;
    for (unsigned PID = 0; PID < mpegcore::pid_count; ++PID)
        if (parser.m_PIDs[PID].bitrate != 0)
            counts["bitrate_at_end/" + zqtest::formatted("0x%04x", PID)] = parser.m_PIDs[PID].bitrate;
    EXPECT_EQ(counts, expected.counts);
    ASSERT_EQ(parser.lines.size(), expected.lines.size());
    for (std::size_t at = 0; at < expected.lines.size(); ++at)
        ASSERT_EQ(parser.lines[at], expected.lines[at]);
}

class Samples : public testing::TestWithParam<std::size_t>
{};

TEST_P(Samples, GiveTheExpectedCallbacksAndTables)
{
    for (const auto& [name, stream] : zqtest::built_streams())
        check(name, {stream.data().begin(), stream.data().end()}, {stream.counts(), stream.lines()}, GetParam());
    for (const auto& name : zqtest::sample_names(".tables.txt"))
        check(name, zqtest::contents(name + ".ts"),
              {expected_counts(name + ".expected.json"), zqtest::lines_of(name + ".tables.txt")}, GetParam());
}

INSTANTIATE_TEST_SUITE_P(InPieces, Samples, testing::Values(std::size_t{1} << 30, std::size_t{1}, std::size_t{1316}),
                         [](const auto& piece) {
                             return piece.param == 1 ? "OfAByte" : piece.param == 1316 ? "OfADatagram" : "OfTheWhole";
                         });
} // namespace Samples_test
