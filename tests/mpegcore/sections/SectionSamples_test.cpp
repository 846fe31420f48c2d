// SPDX-License-Identifier: LGPL-2.1-or-later
// Recorded streams in the folder ZQ_SAMPLE_DIR against NAME.sections.txt, one line for each section.
#include "mpegcore/sections/SectionGatherer.h"
#include "support/Samples.h"
#include "support/SectionLines.h"
#include "support/Stream.h"

#include <gmock/gmock.h>

#include <array>
#include <memory>

namespace
{
/// Listens to the table PIDs and to every PID that a PAT names for a program.
class SectionLister
{
public:
    SectionLister()
    {
        for (const unsigned PID : {0x00U, 0x01U, 0x02U, 0x10U, 0x11U, 0x12U, 0x13U, 0x14U, 0x1EU, 0x1FU})
            listen(PID);
    }

    void put(const unsigned char* packet)
    {
        const unsigned PID = (packet[1] & 0x1FU) << 8 | packet[2];
        if (m_gatherers[PID])
            m_gatherers[PID]->put(packet,
                                  [&](const unsigned char* section, std::size_t size, mpegcore::SectionCheck check) {
                                      if (check == mpegcore::SectionCheck::good)
                                          take(PID, section, size);
                                  });
        ++m_index;
    }

    std::vector<std::string> lines;

private:
    void listen(unsigned PID)
    {
        if (!m_gatherers[PID])
            m_gatherers[PID] = std::make_unique<mpegcore::SectionGatherer>();
    }

    void take(unsigned PID, const unsigned char* section, std::size_t size)
    {
        lines.push_back(zqtest::section_line(m_index, PID, section, size));
        if (PID != 0 || section[0] != 0 || !mpegcore::SectionHeader(section, size).current_next_indicator())
            return;
        for (std::size_t at = 8; at + 8 <= size; at += 4)
            if ((section[at] | section[at + 1]) != 0)
                listen((section[at + 2] & 0x1FU) << 8 | section[at + 3]);
    }

    std::size_t m_index = 0;
    std::array<std::unique_ptr<mpegcore::SectionGatherer>, mpegcore::pid_count> m_gatherers;
};
} // namespace

TEST(SectionSamples, GiveTheExpectedSections)
{
    const auto names = zqtest::sample_names(".sections.txt");
    if (names.empty())
        GTEST_SKIP() << "ZQ_SAMPLE_DIR names no folder with samples";
    for (const auto& name : names) {
        SCOPED_TRACE(name);
        const std::string data = zqtest::contents(name + ".ts");
        SectionLister lister;
        for (std::size_t at = 0; at + 188 <= data.size(); at += 188)
            lister.put(reinterpret_cast<const unsigned char*>(data.data()) + at);
        EXPECT_EQ(lister.lines, zqtest::lines_of(name + ".sections.txt"));
    }
}
