// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/progress_bar.h"
#include "tools/t2mi/command_line.h"
#include "tools/t2mi/input_clock.h"
#include "tools/t2mi/t2mi_encapsulator.h"
#include "tools/t2mi/ts_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
using namespace std::chrono_literals;

constexpr int exit_failed = 1;
constexpr int exit_wrong_arguments = 2;
// What the PLPs' bursts may need beyond the constant rate for a while.
constexpr auto longest_lead = 2s;

int fail(const std::string& reason, int exit_code = exit_failed)
{
    std::fprintf(stderr, "zq-t2mi-mux: %s\n", reason.c_str());
    return exit_code;
}

struct plp_source
{
    std::uint8_t plp_id;
    t2mi::ts_file_reader file;
    t2mi::input_clock clock;
    std::chrono::nanoseconds time{0}; // of the packet that waits in file
    bool at_end = false;

    plp_source(std::uint8_t id, std::uint64_t bitrate) : plp_id(id), clock(bitrate) {}

    /// False when the file failed.
    [[nodiscard]] bool fetch()
    {
        const auto result = file.next();
        at_end = result == t2mi::ts_file_reader::result::end;
        if (result == t2mi::ts_file_reader::result::packet)
            time = clock.stamp(file.packet());
        return result != t2mi::ts_file_reader::result::failed;
    }
};

bool goes_first(const plp_source& a, const plp_source& b) { return a.at_end != b.at_end ? b.at_end : a.time < b.time; }

std::string rate_fault(std::uint64_t bitrate) { return "the PLPs need more than --bitrate " + std::to_string(bitrate); }

int multiplex(std::vector<plp_source>& sources, const t2mi::command_line& line, std::FILE* output)
{
    t2mi::t2mi_encapsulator encapsulator(line.options, [output](const unsigned char* packet) {
        std::fwrite(packet, 1, mpegcore::ts_packet_size, output);
    });
    std::uint64_t total = 0;
    bool total_known = true;
    for (auto& source : sources) {
        if (!encapsulator.add_plp(source.plp_id) || !source.fetch())
            return fail(source.file.fault());
        total += source.file.size();
        total_known = total_known && source.file.size() != 0;
    }
    tools::progress_bar progress(total_known ? total : 0, !line.quiet);
    std::uint64_t done = 0;
    for (;;) {
        auto& source = *std::min_element(sources.begin(), sources.end(), goes_first);
        if (source.at_end)
            break;
        encapsulator.advance(source.time);
        if (!encapsulator.push(source.plp_id, source.file.packet()) || std::ferror(output) != 0)
            return exit_failed; // main tells what is wrong with the output
        if (encapsulator.lead() > longest_lead)
            return fail(rate_fault(line.options.bitrate));
        if (!source.fetch())
            return fail(source.file.fault());
        done += mpegcore::ts_packet_size;
        if (done % (mpegcore::ts_packet_size * 1024) == 0)
            progress.show(done);
    }
    encapsulator.flush();
    for (const auto& source : sources)
        if (source.file.bytes_left_out() != 0)
            fail("the last " + std::to_string(source.file.bytes_left_out()) + " bytes for PLP " +
                 std::to_string(source.plp_id) + " are no whole packet and were left out");
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    t2mi::command_line line;
    const std::string fault = t2mi::parse_command_line({argv + 1, argv + argc}, line);
    if (line.help)
        return std::fputs(t2mi::help_text().c_str(), stdout) < 0 ? exit_failed : 0;
    if (line.version)
        return std::puts("zq-t2mi-mux " ZQ_VERSION) < 0 ? exit_failed : 0;
    if (!fault.empty())
        return fail(fault + "; --help lists all options", exit_wrong_arguments);

    std::vector<plp_source> sources;
    sources.reserve(line.inputs.size());
    for (const auto& input : line.inputs) {
        auto& source = sources.emplace_back(input.plp_id, line.input_bitrate);
        if (!source.file.open(input.file))
            return fail(source.file.fault());
    }
    for (const auto& input : line.inputs) {
        std::error_code error;
        if (std::filesystem::equivalent(input.file, line.output, error))
            return fail(line.output + ": is an input, too");
    }
    const auto output = t2mi::open_for_writing(line.output);
    if (output == nullptr)
        return fail(line.output + ": " + std::strerror(errno));
    const int exit_code = multiplex(sources, line, output.get());
    if (std::fflush(output.get()) != 0 || std::ferror(output.get()) != 0)
        return fail(line.output + ": " + std::strerror(errno));
    return exit_code;
}
