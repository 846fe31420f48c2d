// SPDX-License-Identifier: LGPL-2.1-or-later
// Sections with another decoder's XML beside them: what is printed has the same values. Both come from the folder that
// ZQ_DECODE_DIR names, or from "decodes" beside that of the samples; without it these tests are skipped.
#include "mpegcore/PrivateSection.h"
#include "mpegcore/TablePrinter.h"
#include "mpegcore/print/DecodeRules.h"
#include "support/Samples.h"
#include "support/StrictJson.h"
#include "support/XmlElement.h"

#include <gmock/gmock.h>

#include <map>

namespace Decodes_test
{
using namespace zqtest;

std::filesystem::path decode_folder()
{
    if (const char* const folder = std::getenv("ZQ_DECODE_DIR"); folder != nullptr && *folder != '\0')
        return folder;
    const auto samples = sample_folder();
    return samples ? *samples / ".." / "decodes" : std::filesystem::path();
}

bool ends_with(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

Json printed(const std::string& section)
{
    const auto table =
        mpegcore::table_of_section(reinterpret_cast<const unsigned char*>(section.data()), section.size());
    const auto line = table == nullptr ? std::nullopt : strict_json(mpegcore::to_json(*table));
    if (!line)
        throw std::runtime_error("a section that is not read");
    return *line;
}

/// What is the same in all sections of a table.
std::string identity(const Json& section)
{
    std::string text;
    for (const char* const field : {"table_id", "version_number", "table_id_extension", "program_number", "service_id",
                                    "transport_stream_id", "original_network_id", "network_id", "bouquet_id"})
        text += section.contains(field) ? section.at(field).dump() + ' ' : "- ";
    return text;
}

/// The other decoder prints the sections of a table as one: so do we, the loops one behind the other.
void append(Json& table, const Json& section)
{
    for (const auto& [field, value] : section.items())
        if (value.is_array())
            table[field].insert(table[field].end(), value.begin(), value.end());
}

std::vector<Json> tables_of(const std::string& sections)
{
    std::vector<Json> tables;
    std::map<std::string, std::size_t> begun;
    for (std::size_t at = 0; at + 3 <= sections.size();) {
        const std::size_t size = 3 + ((static_cast<unsigned char>(sections[at + 1]) & 0xFU) << 8 |
                                      static_cast<unsigned char>(sections[at + 2]));
        Json section = printed(sections.substr(at, size));
        at += size;
        if (section.contains("transport_streams"))
            for (auto& stream : section["transport_streams"])
                stream["preferred_section"] = section["section_number"];
        if (section["table_id"] == 0x00)
            for (std::size_t index = section["programs"].size(); index-- > 0;)
                if (section["programs"][index]["program_number"] == 0) {
                    section["network_PID"] = section["programs"][index]["PID"];
                    section["programs"].erase(index);
                }
        const std::string key = identity(section);
        const auto found = begun.find(key);
        if (found != begun.end() &&
            section.value("section_number", 0) > tables[found->second].value("section_number", 0)) {
            append(tables[found->second], section);
            continue;
        }
        begun[key] = tables.size();
        tables.push_back(section);
    }
    return tables;
}

/// 0x100 when there is no class for it.
unsigned table_id_of(const XmlElement& table)
{
    static const std::map<std::string, unsigned> table_ids{{"PAT", 0x00},
                                                           {"CAT", 0x01},
                                                           {"PMT", 0x02},
                                                           {"TSDT", 0x03},
                                                           {"NIT", 0x41},
                                                           {"SDT", 0x46},
                                                           {"BAT", 0x4A},
                                                           {"TDT", 0x70},
                                                           {"RST", 0x71},
                                                           {"TOT", 0x73},
                                                           {"discontinuity_information_table", 0x7E},
                                                           {"selection_information_table", 0x7F},
                                                           {"splice_information_table", 0xFC}};
    const bool actual = table.attribute("actual") == "true";
    if (table.name == "EIT" && table.attribute("type") == "pf")
        return actual ? 0x4E : 0x4F;
    if (table.name == "EIT")
        return (actual ? 0x50U : 0x60U) + static_cast<unsigned>(number_of(table.attribute("type")));
    const auto found = table_ids.find(table.name);
    if (found == table_ids.end())
        return 0x100;
    return !actual ? found->second : table.name == "NIT" ? 0x40 : 0x42;
}

class Comparison
{
public:
    std::size_t values = 0, tables = 0, descriptors = 0;
    std::map<std::string, unsigned> not_compared; ///< by the name there: there is a class on one side only
    std::map<std::string, unsigned> differences;

    void compare_tables(const XmlElement& root, std::vector<Json> ours)
    {
        for (const auto& table : root.children) {
            const unsigned table_id = table_id_of(table);
            if (table_id == 0x100) {
                ++not_compared[table.name];
                continue;
            }
            const auto is_it = [&](const Json& one) {
                return one.at("table_id") == table_id && (one.at("table_id") == 0xFC || has_values(one, table));
            };
            const auto found = std::find_if(ours.begin(), ours.end(), is_it);
            if (found == ours.end()) {
                ++differences["no such table: " + table.name];
                continue;
            }
            ++tables;
            compare(*found, table, table.name);
            ours.erase(found);
        }
    }

private:
    static const ValueRule* rule_of(const std::string& path, const std::string& name)
    {
        for (const bool any : {false, true})
            for (const auto& rule : value_rules())
                if (rule.name == name &&
                    (any ? rule.element.empty() : !rule.element.empty() && ends_with(path, rule.element)))
                    return &rule;
        return nullptr;
    }

    static bool has_value(const Json& object, const std::string& path, const std::string& name, const std::string& text)
    {
        const ValueRule* const rule = rule_of(path, name);
        const std::string& field = rule == nullptr ? name : rule->field;
        if (field.empty())
            return true;
        return object.contains(field) &&
               (rule == nullptr ? same(object, field, text) : rule->check(object, field, text));
    }

    static bool has_values(const Json& object, const XmlElement& element)
    {
        return std::all_of(element.attributes.begin(), element.attributes.end(), [&](const auto& attribute) {
            return has_value(object, element.name, attribute.first, attribute.second);
        });
    }

    void compare_value(const Json& object, const std::string& path, const std::string& name, const std::string& text)
    {
        const ValueRule* const rule = rule_of(path, name);
        if (rule != nullptr && rule->field.empty())
            return;
        ++values;
        if (!has_value(object, path, name, text))
            ++differences[path + ' ' + name + ": " + text + " in " + object.dump().substr(0, 600)];
    }

    void compare(const Json& object, const XmlElement& element, const std::string& path)
    {
        for (const auto& [name, text] : element.attributes)
            compare_value(object, path, name, text);
        if (!element.text.empty())
            compare_value(object, path, "#text", element.text);
        std::vector<const XmlElement*> loop;
        std::map<std::string, std::vector<const XmlElement*>> children;
        for (const auto& child : element.children)
            if (ends_with(child.name, "_descriptor"))
                loop.push_back(&child);
            else if (child.name != "metadata") // where the other decoder found the table
                children[child.name].push_back(&child);
        if (!loop.empty() || object.contains("descriptors"))
            compare_descriptors(object, loop, path);
        for (const auto& [name, entries] : children)
            compare_children(object, name, entries, path);
    }

    void compare_descriptors(const Json& object, const std::vector<const XmlElement*>& loop, const std::string& path)
    {
        if (!object.contains("descriptors") || object.at("descriptors").size() != loop.size()) {
            ++differences[path + ": " + std::to_string(loop.size()) + " descriptors in " + object.dump()];
            return;
        }
        for (std::size_t index = 0; index < loop.size(); ++index) {
            const Json& ours = object.at("descriptors").at(index);
            const XmlElement& theirs = *loop[index];
            const char* const generic = ours.contains("payload") ? "payload" : "selector_byte";
            if (theirs.name == "generic_descriptor" && ours.contains("payload")) {
                compare_generic(ours, theirs);
            } else if (theirs.name == "generic_descriptor" || ours.contains(generic)) {
                ++not_compared[theirs.name];
            } else {
                ++descriptors;
                compare(ours, theirs, theirs.name);
            }
        }
    }

    void compare_generic(const Json& ours, const XmlElement& theirs)
    {
        ++descriptors;
        values += 2;
        if (ours.at("descriptor_tag") != number_of(theirs.attribute("tag")) ||
            !same_bytes(ours, "payload", theirs.text))
            ++differences["generic_descriptor: " + theirs.text + " in " + ours.dump()];
    }

    static const Json& array_of(const Json& object, const std::string& name, const ChildRule* rule)
    {
        static const Json nothing;
        if (rule != nullptr)
            return object.contains(rule->field) ? object.at(rule->field) : object;
        for (const auto& field : {name + 's', name, std::string("entries")})
            if (object.contains(field))
                return object.at(field);
        return nothing;
    }

    void compare_children(const Json& object, const std::string& name, const std::vector<const XmlElement*>& entries,
                          const std::string& path)
    {
        const ChildRule* rule = nullptr;
        for (const auto& one : child_rules())
            if (one.name == name && ends_with(path, one.element))
                rule = &one;
        const XmlElement& first = *entries.front();
        if (rule == nullptr && first.attributes.empty() && first.children.empty() &&
            (rule_of(path, name) != nullptr || (object.contains(name) && object.at(name).is_string())))
            return compare_value(object, path, name, first.text);
        const Json& target = array_of(object, name, rule);
        if (target.is_array() ? target.size() != entries.size() : entries.size() != 1 || target.is_null()) {
            ++differences[path + ": " + std::to_string(entries.size()) + ' ' + name + " in " +
                          object.dump().substr(0, 600)];
            return;
        }
        for (std::size_t index = 0; index < entries.size(); ++index)
            compare_entry(object, target, *entries[index], index, path + '/' + name, rule);
    }

    void compare_entry(const Json& object, const Json& target, const XmlElement& entry, std::size_t index,
                       const std::string& path, const ChildRule* rule)
    {
        if (&target == &object) {
            Json values_alone = object;
            values_alone.erase("descriptors");
            return compare(values_alone, entry, path);
        }
        if (!target.is_array())
            return compare(target, entry, path);
        if (rule != nullptr && !rule->keys.empty())
            for (index = 0; index + 1 < target.size(); ++index)
                if (std::all_of(rule->keys.begin(), rule->keys.end(), [&](const std::string& key) {
                        return has_value(target.at(index), path, key, entry.attribute(key));
                    }))
                    break;
        Json one = target.at(index);
        if (object.contains("coding_type")) // which says what its frequencies are
            one["coding_type"] = object["coding_type"];
        if (one.contains("data_service_descriptor"))
            one["fields"] = VBI_fields(one.at("data_service_descriptor"));
        compare(one, entry, path);
    }

    /// What is opaque here (EN 300 468, 6.2.47): reserved bits, field_parity and line_offset in each byte.
    static Json VBI_fields(const std::string& hex)
    {
        Json fields = Json::array();
        for (std::size_t at = 0; at < hex.size(); at += 2) {
            const int byte = std::stoi(hex.substr(at, 2), nullptr, 16);
            fields.push_back({{"field_parity", byte >> 5 & 1}, {"line_offset", byte & 31}});
        }
        return fields;
    }
};

class Decodes : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(file(".bin")))
            GTEST_SKIP() << "no " << file(".bin");
    }

    static std::filesystem::path file(const std::string& ending)
    {
        return decode_folder() / (std::string(GetParam()) + ending);
    }
};
INSTANTIATE_TEST_SUITE_P(Files, Decodes, testing::Values("test-001", "test-005", "test-012", "test-015", "test-027"),
                         [](const auto& instance) { return "test_" + std::string(instance.param).substr(5); });

TEST_P(Decodes, AgreeWithWhatIsPrintedValueByValue)
{
    Comparison comparison;
    comparison.compare_tables(XmlReader(contents(file(".xml"))).root(), tables_of(contents(file(".bin"))));
    for (const auto& [difference, count] : comparison.differences)
        ADD_FAILURE() << count << " times " << difference;
    EXPECT_GT(comparison.values, 0U);
    std::cout << comparison.values << " values of " << comparison.tables << " tables and " << comparison.descriptors
              << " descriptors; not compared:";
    for (const auto& [name, count] : comparison.not_compared)
        std::cout << ' ' << name << ' ' << count;
    std::cout << '\n';
}
} // namespace Decodes_test
