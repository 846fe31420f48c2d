// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/command_line.h"

#include "tools/common/udp_address.h"
#include "tools/monitor/stream_settings.h"

#include <utility>

#include <CLI/CLI.hpp>

namespace monitor
{
namespace
{
constexpr const char* description = "Watches transport streams by ETSI TR 101 290, hundreds in one process.";
constexpr const char* footer =
    "On a terminal a table that refreshes in place (arrow keys, enter, q), in a pipe a line for each stream and\n"
    "second, unless --http or --events is given. SIGHUP reads the file of streams again.\n"
    "Exits with 0, with 1 when something it needs cannot be had, with 2 when the arguments are wrong.";

/// Parts the files among the streams from the others. What is wrong with one of them; empty when nothing is.
std::string part_streams(options& options, bool takes_files)
{
    for (const auto& argument : std::exchange(options.streams, {})) {
        const auto stream = stream_of_argument(argument);
        const bool is_file = takes_files && !tools::is_udp_address(stream.address);
        auto fault = stream_name_fault(stream.name);
        if (fault.empty() && !is_file)
            fault = stream_address_fault(stream.address);
        if (!fault.empty())
            return fault;
        (is_file ? options.files : options.streams).push_back(argument);
    }
    return {};
}

void add_streams(CLI::App& app, options& options)
{
    app.add_option("STREAM", options.streams, "streams to watch")->option_text("[NAME=]udp://[SOURCE@]GROUP:PORT ...");
    app.add_option("--pace", "take [NAME=]FILE for a stream, too, and send it by its PCRs through the loopback")
        ->option_text("pcr")
        ->check(CLI::IsMember({"pcr"}));
    app.add_flag("--demo", options.demo, "watch streams that the program makes itself, some of them with faults");
    auto* const file = app.add_option("--streams", options.file, "a file of streams (TOML); zq-monitor(1) describes it")
                           ->option_text("FILE");
    app.add_flag("--check", options.check, "only tell what is wrong with the file of streams")->needs(file);
    const auto set_shard = [&options](const CLI::results_t& texts) {
        const auto parsed = parse_shard(texts.back());
        options.share = parsed.value_or(options.share);
        return parsed.has_value();
    };
    app.add_option("--shard", set_shard, "only the I-th part, from 0, of N parts of all streams")->option_text("I/N");
    app.add_option("--interface", options.interface,
                   "the interface to join multicast groups on, or an address of it, where the file names none")
        ->option_text("NAME");
}
} // namespace

tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                  options& options, std::string& text)
{
    CLI::App app(description, "zq-monitor");
    app.footer(footer);
    add_streams(app, options);
    app.add_flag("--json", options.json, "one object of JSON for each stream and second");
    app.add_flag("--quiet", options.quiet, "no table and no lines")->excludes("--json");
    app.add_option("--events", options.events, "where to add a line of JSON for each event; - is standard output")
        ->option_text("FILE | -");
    const auto set_http = [&options](const CLI::results_t& texts) {
        options.http = parse_http_address(texts.back());
        return options.http.has_value();
    };
    app.add_option("--http", set_http, "serve the page and the metrics, on the loopback unless an address is given")
        ->option_text("[ADDRESS:]PORT");
    app.add_option("--hold-off", options.hold_off, "seconds without an error after which an alarm ends (5)")
        ->option_text("SECONDS")
        ->check(CLI::Range(0.0, 86400.0));
    app.add_option("--tick", options.tick_ms, "milliseconds from one look at the sockets to the next (5)")
        ->option_text("MS")
        ->check(CLI::Range(1, 100));
    app.add_option("--threads", options.threads, "threads that receive (1)")
        ->option_text("N")
        ->check(CLI::Range(1, 64));
    const auto asked = tools::parse_arguments(app, arguments, version, text);
    if (asked != tools::request::run)
        return asked;
    text = part_streams(options, app.count("--pace") > 0);
    if (text.empty() && options.streams.empty() && options.files.empty() && options.file.empty() && !options.demo)
        text = "there is no stream to watch";
    return text.empty() ? asked : tools::request::refuse;
}
} // namespace monitor
