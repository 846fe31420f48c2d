// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/tables/command_line.h"

#include "tools/common/parse_number.h"
#include "tools/common/udp_address.h"
#include "tools/tables/local_time.h"

#include <CLI/CLI.hpp>

namespace tables
{
namespace
{
constexpr const char* description = "Shows the tables of a transport stream (ISO/IEC 13818-1, ETSI EN 300 468).";
constexpr const char* footer =
    "Packets of 188, 192 and 204 bytes are told apart; datagrams may carry RTP. Numbers may be hexadecimal behind 0x.\n"
    "Exits with 0, with 1 when the input or the output fails it or holds no transport stream, with 2 when the\n"
    "arguments are wrong.";

/// Takes numbers up to `highest`, as often as they come, into `numbers`.
template <class T>
CLI::Option* add_numbers(CLI::App& app, const std::string& name, std::vector<T>& numbers, unsigned highest,
                         const std::string& help)
{
    const auto take = [&numbers, highest](const CLI::results_t& texts) {
        for (const auto& text : texts) {
            unsigned number = 0;
            if (!tools::parse_number(text, number) || number > highest)
                return false;
            numbers.push_back(static_cast<T>(number));
        }
        return true;
    };
    return app.add_option(name, take, help)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

std::string check_table_name(const std::string& name)
{
    return is_table_name(name) ? std::string() : "there is no table \"" + name + "\"";
}

auto set_region(mpegcore::LocalTime& local_time)
{
    return [&local_time](const CLI::results_t& texts) { return parse_region(texts.back(), local_time); };
}

auto set_charset(mpegcore::TextTable& charset)
{
    return [&charset](const CLI::results_t& texts) {
        const auto found = mpegcore::text_table_of_name(texts.back());
        charset = found.value_or(charset);
        return found.has_value();
    };
}

void add_options(CLI::App& app, options& options)
{
    app.add_option("INPUT", options.input, "a file, \"-\" for standard input (the default), or datagrams")
        ->option_text("FILE | - | udp://[SOURCE@]GROUP:PORT")
        ->check(tools::udp_address_fault);
    auto* const json = app.add_flag("--json", options.json, "one object of JSON a line");
    auto* const services = app.add_flag("--services", options.services,
                                        "the services with names, types, PIDs and bit rates instead of the tables");
    auto* const sections =
        app.add_flag("--sections", options.sections, "one line for each section in the order in which they end");
    sections->excludes(json)->excludes(services);
    auto* const all = app.add_flag("--all", options.all, "every repetition, not changes only");
    app.add_flag("--once", options.once, "the first of each only; of what comes live, until nothing is new for 10 s")
        ->excludes(all)
        ->excludes(sections)
        ->excludes(services);
    all->excludes(services);
    add_numbers(app, "--pid", options.filter.PIDs, 0x1FFF, "only this PID, also one that has no table by itself")
        ->option_text("PID ...");
    add_numbers(app, "--table-id", options.filter.table_ids, 0xFF, "only this table_id")->option_text("ID ...");
    app.add_option("--table", options.filter.names, "only tables of this name: PAT, \"NIT actual\", \"EIT schedule\"")
        ->option_text("NAME ...")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->check(check_table_name);
    app.add_option("--interface", options.interface, "the interface to join a multicast group on, or an address of it")
        ->option_text("NAME");
    app.add_option("--charset", set_charset(options.print.unmarked),
                   "table of texts that name none: ISO-6937 (default), ISO-8859-1 to -15, UTF-8, ...")
        ->option_text("NAME");
    app.add_option("--local-time", set_region(options.print.local_time),
                   "times in local time, once a TOT has told that of the region: DEU, ESP:2, ...")
        ->option_text("COUNTRY[:REGION]")
        ->excludes(sections)
        ->excludes(services);
    app.add_flag("--quiet", options.quiet, "no progress bar");
}
} // namespace

tools::request parse_command_line(const std::vector<std::string>& arguments, const std::string& version,
                                  options& options, std::string& text)
{
    CLI::App app(description, "zq-tables");
    app.footer(footer);
    add_options(app, options);
    return tools::parse_arguments(app, arguments, version, text);
}
} // namespace tables
