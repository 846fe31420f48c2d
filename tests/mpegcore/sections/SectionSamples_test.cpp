// SPDX-License-Identifier: LGPL-2.1-or-later
// Recorded streams in the folder ZQ_SAMPLE_DIR against NAME.sections.txt, one line for each section.
#include "mpegcore/BaseMpegParser.h"
#include "support/Samples.h"
#include "support/SectionLines.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

namespace SectionSamples_test
{
/// Takes down every section, and how often each was reported as a table.
class SectionLister : public mpegcore::CBaseMpegParser
{
public:
    SectionLister() : CBaseMpegParser(true) { set_sections_by_the_standard(true); }

    void OnProcess(unsigned int, mpegcore::transport_packet&) override { ++m_index; }
    void OnSection(unsigned short PID, const unsigned char* section, unsigned long size) override
    {
        lines.push_back(zqtest::section_line(m_index, PID, section, size));
    }

    std::vector<std::string> lines;

private:
    std::size_t m_index = 0;
};

class SectionSamples : public testing::TestWithParam<std::size_t>
{};

TEST_P(SectionSamples, GiveTheExpectedSections)
{
    const auto names = zqtest::sample_names(".sections.txt");
    if (names.empty())
        GTEST_SKIP() << "ZQ_SAMPLE_DIR names no folder with samples";
    std::mt19937 random(1);
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        std::string data = zqtest::contents(name + ".ts");
        SectionLister lister;
        for (std::size_t at = 0; at < data.size();) {
            const std::size_t piece = GetParam() != 0 ? GetParam() : 1 + random() % 1000;
            const std::size_t size = std::min(piece, data.size() - at);
            lister.Process(reinterpret_cast<unsigned char*>(data.data()) + at, size);
            at += size;
        }
        EXPECT_EQ(lister.lines, zqtest::lines_of(name + ".sections.txt"));
    }
}

INSTANTIATE_TEST_SUITE_P(InPieces, SectionSamples,
                         testing::Values(std::size_t{1} << 30, std::size_t{1}, std::size_t{0}), [](const auto& piece) {
                             return piece.param == 0 ? "OfRandomSizes" : piece.param == 1 ? "OfAByte" : "OfTheWhole";
                         });
} // namespace SectionSamples_test
