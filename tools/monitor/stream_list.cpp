// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/monitor/stream_list.h"

#include "tools/monitor/limit_names.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace monitor
{
namespace
{
/// Reads the tables of one file and keeps what is wrong with them.
class list_reader
{
public:
    list_reader(const std::string& file, stream_list& list) : m_file(file), m_list(list) {}

    void read(const toml::table& root)
    {
        stream_settings defaults;
        for (const auto& [key, node] : root)
            if (key == "defaults" && node.is_table())
                read_entries(*node.as_table(), defaults, false);
            else if (key != "stream" || !node.is_array_of_tables())
                complain(node, key == "stream"     ? "streams are begun with [[stream]]"
                               : key == "defaults" ? "defaults are begun with [defaults]"
                                                   : unknown(key));
        if (const auto* const streams = root["stream"].as_array())
            for (const auto& stream : *streams)
                if (const auto* const table = stream.as_table())
                    read_stream(*table, defaults);
    }

    void complain(const toml::node& place, const std::string& reason) { complain(place.source().begin.line, reason); }
    void complain(unsigned line, const std::string& reason)
    {
        m_faults.emplace(line, m_file + ':' + std::to_string(line) + ": " + reason);
    }

    /// What is wrong, by line.
    void finish()
    {
        for (const auto& [line, fault] : m_faults)
            m_list.faults.push_back(fault);
    }

private:
    static std::string unknown(std::string_view key) { return "\"" + std::string(key) + "\" is unknown here"; }

    void read_stream(const toml::table& table, const stream_settings& defaults)
    {
        stream_settings stream = defaults;
        const std::size_t faults = m_faults.size();
        read_entries(table, stream, true);
        if (stream.address.empty() && m_faults.size() == faults)
            complain(table, "a stream needs an address");
        if (stream.name.empty())
            stream.name = stream.address;
        if (!stream.name.empty() && !m_names.insert(stream.name).second)
            complain(table.contains("name") ? *table.get("name") : table,
                     "there is a stream \"" + stream.name + "\" already");
        m_list.streams.push_back(std::move(stream));
    }

    void read_entries(const toml::table& table, stream_settings& stream, bool is_stream)
    {
        for (const auto& [key, node] : table) {
            if (key == "name" && is_stream)
                read_text(node, stream.name, [](const std::string& text) { return stream_name_fault(text); });
            else if (key == "address" && is_stream)
                read_text(node, stream.address, stream_address_fault);
            else if (key == "interface")
                read_text(node, stream.interface, [](const std::string&) { return std::string(); });
            else if (key == "buffer_size")
                read_number(node, stream.buffer_size, std::numeric_limits<int>::max() / 2);
            else if (key == "labels")
                read_labels(node, stream);
            else if (key == "limits")
                read_limits(node, stream.limits);
            else
                complain(node, unknown(key));
        }
    }

    template <class Check>
    void read_text(const toml::node& node, std::string& text, Check fault_of)
    {
        const auto given = node.value_exact<std::string>();
        if (!given)
            return complain(node, "this is to be a text");
        text = *given;
        if (const auto fault = fault_of(text); !fault.empty())
            complain(node, fault);
    }

    template <class Number>
    void read_number(const toml::node& node, Number& number, std::int64_t highest)
    {
        const auto given = node.value_exact<std::int64_t>();
        if (!given || *given < 0 || *given > highest)
            return complain(node, "this is to be a whole number from 0 to " + std::to_string(highest));
        number = static_cast<Number>(*given);
    }

    void read_labels(const toml::node& node, stream_settings& stream)
    {
        const auto* const table = node.as_table();
        if (table == nullptr)
            return complain(node, "labels are a table of texts");
        for (const auto& [key, value] : *table) {
            if (const auto fault = label_fault(key); !fault.empty())
                complain(value, fault);
            read_text(value, stream.labels[std::string(key.str())], [](const std::string&) { return std::string(); });
        }
    }

    void read_limits(const toml::node& node, mpegcore::MonitorLimits& limits)
    {
        const auto* const table = node.as_table();
        if (table == nullptr)
            return complain(node, "limits are a table");
        for (const auto& [key, value] : *table) {
            if (key == "SI_is_expected") {
                if (!value.is_boolean())
                    complain(value, "this is to be true or false");
                limits.SI_is_expected = value.value_or(limits.SI_is_expected);
                continue;
            }
            std::uint64_t number = 0;
            const auto faults = m_faults.size();
            read_number(value, number, highest_limit);
            if (m_faults.size() == faults && !set_limit(limits, key, number))
                complain(value, "there is no limit \"" + std::string(key.str()) + "\" that takes this");
        }
    }

    const std::string& m_file;
    stream_list& m_list;
    std::multimap<unsigned, std::string> m_faults; ///< by line
    std::set<std::string> m_names;
};
} // namespace

stream_list parse_stream_list(std::string_view text, const std::string& file)
{
    stream_list list;
    list_reader reader(file, list);
    const auto parsed = toml::parse(text);
    if (parsed)
        reader.read(parsed.table());
    else
        reader.complain(parsed.error().source().begin.line, std::string(parsed.error().description()));
    reader.finish();
    return list;
}

stream_list read_stream_list(const std::string& file)
{
    stream_list list;
    const auto fail = [&](const std::string& reason) {
        list.faults.push_back(file + ": " + reason);
        return list;
    };
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return fail(std::strerror(errno));
    std::string text;
    std::string block(std::size_t{64} << 10, '\0');
    while (stream.read(block.data(), static_cast<std::streamsize>(block.size())) || stream.gcount() > 0) {
        text.append(block, 0, static_cast<std::size_t>(stream.gcount()));
        if (text.size() > stream_list::largest_file)
            return fail("is larger than 16 MiB");
    }
    if (stream.bad())
        return fail(std::strerror(errno));
    return parse_stream_list(text, file);
}
} // namespace monitor
