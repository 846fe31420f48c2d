// SPDX-License-Identifier: LGPL-2.1-or-later
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace oddities_test
{
// docs/oddities.md, one row for each place in the sources whose comment says that it is meant.

namespace fs = std::filesystem;

const fs::path root = ZQ_SOURCE_DIR;

std::string contents(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> sources_in(const std::vector<std::string>& folders)
{
    std::vector<fs::path> files;
    for (const auto& folder : folders)
        for (const auto& entry : fs::recursive_directory_iterator(root / folder))
            if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp")
                files.push_back(entry.path());
    return files;
}

std::size_t matches(const std::string& text, const std::regex& wanted)
{
    return static_cast<std::size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), std::sregex_iterator()));
}

/// A row of the document: the file that its first column names, and the tests of its fourth.
struct Row
{
    std::string file;
    std::vector<std::string> tests;
};

std::vector<std::string> quoted_in(const std::string& cell)
{
    static const std::regex quoted("`([^`]+)`");
    std::vector<std::string> names;
    for (std::sregex_iterator at(cell.begin(), cell.end(), quoted), end; at != end; ++at)
        names.push_back((*at)[1]);
    return names;
}

std::vector<Row> rows()
{
    std::vector<Row> found;
    std::istringstream document(contents(root / "docs/oddities.md"));
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("| `", 0) != 0)
            continue;
        std::vector<std::string> cells;
        std::istringstream row(line.substr(1));
        for (std::string cell; std::getline(row, cell, '|');)
            cells.push_back(cell);
        EXPECT_EQ(cells.size(), 5U) << line;
        if (cells.size() == 5)
            found.push_back({quoted_in(cells[0]).at(0), quoted_in(cells[3])});
    }
    return found;
}

/// "Suite.Name" of every test in the tree.
std::set<std::string> tests_in_the_tree()
{
    static const std::regex test(R"(\n(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s*(\w+)\))");
    std::set<std::string> names;
    for (const auto& file : sources_in({"tests"})) {
        const std::string text = contents(file);
        for (std::sregex_iterator at(text.begin(), text.end(), test), end; at != end; ++at)
            names.insert((*at)[1].str() + "." + (*at)[2].str());
    }
    return names;
}

TEST(Oddities, AreEachPinnedByTestsThatExist)
{
    const auto tests = tests_in_the_tree();
    for (const auto& row : rows()) {
        EXPECT_FALSE(row.tests.empty()) << row.file;
        for (const auto& name : row.tests)
            EXPECT_EQ(tests.count(name), 1U) << name << ", which docs/oddities.md names for " << row.file;
    }
}

TEST(Oddities, HaveOneRowForEachPlaceInTheSourcesThatIsMarked)
{
    static const std::regex line_break(R"(\s*\n\s*(?:///?)?\s*)");
    static const std::regex mark("deliberate|by design|on purpose|(?:that|which) is meant", std::regex::icase);
    std::map<std::string, std::size_t> marked, documented;
    for (const auto& file : sources_in({"zqsdk", "mpegcore", "zq_net_source", "examples", "tools"}))
        if (const auto count = matches(std::regex_replace(contents(file), line_break, " "), mark); count != 0)
            marked[fs::relative(file, root).generic_string()] = count;
    for (const auto& row : rows())
        ++documented[row.file];
    EXPECT_EQ(documented, marked) << "a place that is marked as meant needs a row in docs/oddities.md";
}
} // namespace oddities_test
