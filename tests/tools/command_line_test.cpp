// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/t2mi/command_line.h"

#include <gmock/gmock.h>

namespace command_line_test
{
using t2mi::command_line;
using testing::HasSubstr;

const std::vector<std::string> needed{"--plp", "3=in.ts", "--output", "out.ts"};

std::string fault_of(std::vector<std::string> more, bool with_needed = true)
{
    command_line line;
    if (with_needed)
        more.insert(more.begin(), needed.begin(), needed.end());
    return parse_command_line(more, line);
}

command_line parsed(std::vector<std::string> more)
{
    command_line line;
    more.insert(more.begin(), needed.begin(), needed.end());
    EXPECT_EQ(parse_command_line(more, line), "");
    return line;
}

TEST(CommandLine, TakesInputsAndOutput)
{
    const auto line = parsed({"--plp=0x0A=dir/a=b.ts"});
    ASSERT_EQ(line.inputs.size(), 2U);
    EXPECT_EQ(line.inputs[0].plp_id, 3);
    EXPECT_EQ(line.inputs[0].file, "in.ts");
    EXPECT_EQ(line.inputs[1].plp_id, 10);
    EXPECT_EQ(line.inputs[1].file, "dir/a=b.ts");
    EXPECT_EQ(line.output, "out.ts");
}

TEST(CommandLine, TakesEveryOption)
{
    const auto line = parsed({"--bitrate",
                              "20000000",
                              "--input-bitrate",
                              "7000000",
                              "--frame-size",
                              "200-300",
                              "--frames",
                              "4",
                              "--superframe",
                              "6",
                              "--auxiliary",
                              "9",
                              "--no-timestamps",
                              "--start",
                              "8",
                              "--pid",
                              "0x200",
                              "--pmt-pid",
                              "0x201",
                              "--program",
                              "5",
                              "--ts-id",
                              "6",
                              "--stream-id",
                              "7",
                              "--seed",
                              "42",
                              "--quiet"});
    EXPECT_EQ(line.options.bitrate, 20'000'000U);
    EXPECT_EQ(line.input_bitrate, 7'000'000U);
    EXPECT_EQ(line.options.data_field_bytes_min, 200U);
    EXPECT_EQ(line.options.data_field_bytes_max, 300U);
    EXPECT_EQ(line.options.baseband_frames_per_t2_frame, 4U);
    EXPECT_EQ(line.options.t2_frames_per_superframe, 6U);
    EXPECT_EQ(line.options.auxiliary_bytes, 9U);
    EXPECT_FALSE(line.options.timestamps);
    EXPECT_EQ(line.options.start_seconds, 8U);
    EXPECT_EQ(line.options.t2mi_PID, 0x200);
    EXPECT_EQ(line.options.pmt_PID, 0x201);
    EXPECT_EQ(line.options.program_number, 5);
    EXPECT_EQ(line.options.transport_stream_id, 6);
    EXPECT_EQ(line.options.t2mi_stream_id, 7);
    EXPECT_EQ(line.options.seed, 42U);
    EXPECT_TRUE(line.quiet);
}

TEST(CommandLine, TakesTheOptionsOfOtherStreamsThanThePlainest)
{
    const auto line = parsed({"--continuous", "--l1", "--descriptor", "--normal-mode", "--issy=2", "--delete-nulls"});
    EXPECT_TRUE(line.options.continuous);
    EXPECT_TRUE(line.options.L1_signalling);
    EXPECT_TRUE(line.options.T2MI_descriptor);
    EXPECT_TRUE(line.options.normal_mode);
    EXPECT_EQ(line.options.ISSY_bytes, 2U);
    EXPECT_TRUE(line.options.delete_nulls);
    EXPECT_THAT(fault_of({"--issy", "2"}), HasSubstr("ISSY has 3 bytes, or 2 in normal mode"));
    EXPECT_NE(fault_of({"--issy", "4"}), "");
}

TEST(CommandLine, TakesOneFrameSizeForAll)
{
    const auto line = parsed({"--frame-size=5000"});
    EXPECT_EQ(line.options.data_field_bytes_min, 5000U);
    EXPECT_EQ(line.options.data_field_bytes_max, 5000U);
}

TEST(CommandLine, SaysWhatIsMissing)
{
    EXPECT_THAT(fault_of({}, false), HasSubstr("--plp"));
    EXPECT_THAT(fault_of({"--plp", "0=a"}, false), HasSubstr("--output"));
    EXPECT_THAT(fault_of({"--seed"}), HasSubstr("--seed needs a value"));
    EXPECT_THAT(fault_of({"--seed="}), HasSubstr("--seed needs a value"));
}

TEST(CommandLine, SaysWhatIsWrong)
{
    EXPECT_THAT(fault_of({"--what"}), HasSubstr("unknown argument \"--what\""));
    EXPECT_THAT(fault_of({"in.ts"}), HasSubstr("unknown argument \"in.ts\""));
    EXPECT_THAT(fault_of({"--quiet=1"}), HasSubstr("takes no value"));
    EXPECT_THAT(fault_of({"--plp", "3=other.ts"}), HasSubstr("PLP 3 is given twice"));
    EXPECT_THAT(fault_of({"--plp", "4=-", "--plp", "5=-"}), HasSubstr("standard input"));
    for (const char* bad : {"256=a", "a", "4=", "=a", "-1=a", "4x=a"})
        EXPECT_THAT(fault_of({"--plp", bad}), HasSubstr(std::string("bad value \"") + bad)) << bad;
    for (const char* bad : {"x", "12x", "-1", "0x", "99999999999999999999", "1 "})
        EXPECT_THAT(fault_of({"--bitrate", bad}), HasSubstr("bad value")) << bad;
    for (const char* bad : {"-300", "200-", "a-b", "200-300-400"})
        EXPECT_THAT(fault_of({"--frame-size", bad}), HasSubstr("bad value")) << bad;
    EXPECT_THAT(fault_of({"--input-bitrate", "0"}), HasSubstr("bad value"));
    EXPECT_THAT(fault_of({"--pid", "70000"}), HasSubstr("bad value"));
}

TEST(CommandLine, PassesOnTheFaultsOfTheOptions)
{
    EXPECT_THAT(fault_of({"--frame-size", "186"}), HasSubstr("187 to 8178"));
    EXPECT_THAT(fault_of({"--pid", "0x1FFF"}), HasSubstr("PID"));
}

TEST(CommandLine, NeedsNothingElseForHelpAndVersion)
{
    EXPECT_EQ(fault_of({"--help"}, false), "");
    EXPECT_EQ(fault_of({"--version"}, false), "");
}

TEST(CommandLine, ExplainsEveryOption)
{
    const std::string help = t2mi::help_text();
    for (const char* option :
         {"--plp ID=FILE",  "--output FILE", "--bitrate N",     "--input-bitrate N", "--frame-size", "--frames N",
          "--superframe N", "--auxiliary N", "--no-timestamps", "--start SECONDS",   "--pid PID",    "--pmt-pid PID",
          "--program N",    "--ts-id N",     "--stream-id N",   "--seed N",          "--common ID",  "--empty-frames N",
          "--quiet",        "--version",     "--help"})
        EXPECT_THAT(help, HasSubstr(option));
}
} // namespace command_line_test
