// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/common/program.h"
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

const tools::program program{"zq-t2mi-mux"};
// What the PLPs' bursts may need beyond the constant rate for a while.
constexpr auto longest_lead = 2s;

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
            return program.fail(source.file.fault());
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
            return tools::exit_failed; // main tells what is wrong with the output
        if (encapsulator.lead() > longest_lead)
            return program.fail(rate_fault(line.options.bitrate));
        if (!source.fetch())
            return program.fail(source.file.fault());
        done += mpegcore::ts_packet_size;
        if (done % (mpegcore::ts_packet_size * 1024) == 0)
            progress.show(done);
    }
    encapsulator.flush();
    for (const auto& source : sources)
        if (source.file.bytes_left_out() != 0)
            program.fail("the last " + std::to_string(source.file.bytes_left_out()) + " bytes for PLP " +
                         std::to_string(source.plp_id) + " are no whole packet and were left out");
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    t2mi::command_line line;
    const std::string fault = t2mi::parse_command_line({argv + 1, argv + argc}, line);
    const std::string told = line.help ? t2mi::help_text() : "zq-t2mi-mux " ZQ_VERSION "\n";
    const auto asked = line.help || line.version ? tools::request::print
                       : fault.empty()           ? tools::request::run
                                                 : tools::request::refuse;
    if (const auto exit_code = program.answer(asked, fault.empty() ? told : fault))
        return *exit_code;

    std::vector<plp_source> sources;
    sources.reserve(line.inputs.size());
    for (const auto& input : line.inputs) {
        auto& source = sources.emplace_back(input.plp_id, line.input_bitrate);
        if (!source.file.open(input.file))
            return program.fail(source.file.fault());
    }
    for (const auto& input : line.inputs) {
        std::error_code error;
        if (std::filesystem::equivalent(input.file, line.output, error))
            return program.fail(line.output + ": is an input, too");
    }
    const auto output = t2mi::open_for_writing(line.output);
    if (output == nullptr)
        return program.fail(line.output + ": " + std::strerror(errno));
    const int exit_code = multiplex(sources, line, output.get());
    if (std::fflush(output.get()) != 0 || std::ferror(output.get()) != 0)
        return program.fail(line.output + ": " + std::strerror(errno));
    return exit_code;
}
