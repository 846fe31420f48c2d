// SPDX-License-Identifier: LGPL-2.1-or-later
// Entries of m_PMTs that are erased or replaced, by whom and whenever; under AddressSanitizer this finds what is still
// looked at afterwards.
#include "support/ParserJournal.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

namespace ErasedPMTs_test
{
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using zqtest::Bytes;
using zqtest::Journal;
using zqtest::operator+;

/// Does something in one kind of callback, once.
class Meddler : public Journal
{
public:
    using Journal::Journal;

    void OnPreProcess(unsigned int number, const mpegcore::transport_packet& p) override
    {
        Journal::OnPreProcess(number, p);
        meddle("PreProcess");
    }
    void OnPAT(mpegcore::CPAT* pat) override
    {
        Journal::OnPAT(pat);
        meddle("PAT");
    }
    void OnPMT(mpegcore::CBaseMpegProgram* program, mpegcore::CPMT* pmt) override
    {
        Journal::OnPMT(program, pmt);
        meddle("PMT");
    }
    void OnPES(unsigned short pmt_PID, const mpegcore::CBaseStreamTypeMap* stream,
               mpegcore::transport_packet* packet) override
    {
        Journal::OnPES(pmt_PID, stream, packet);
        meddle("packet");
        if (stream != nullptr) {
            EXPECT_EQ(stream->stream_type, 0x1B);
        }
    }
    void OnPES(unsigned short pmt_PID, mpegcore::CBaseStreamTypeMap* stream, unsigned char* data,
               unsigned long size) override
    {
        Journal::OnPES(pmt_PID, stream, data, size);
        meddle("unit");
        EXPECT_EQ(data[0], 0xAB);
    }
    void OnPES(unsigned short pmt_PID, unsigned short number, const mpegcore::CBaseStreamTypeMap* stream,
               mpegcore::transport_packet* packet) override
    {
        Journal::OnPES(pmt_PID, number, stream, packet);
        meddle("program");
    }
    void OnPCR(mpegcore::transport_packet* packet) override
    {
        Journal::OnPCR(packet);
        meddle("PCR");
    }
    void OnECM(mpegcore::transport_packet* packet) override
    {
        Journal::OnECM(packet);
        meddle("ECM");
    }
    void onOtherPid(mpegcore::transport_packet* packet) override
    {
        Journal::onOtherPid(packet);
        meddle("other");
    }

    std::string where;
    std::function<void()> what;

private:
    void meddle(const std::string& callback)
    {
        if (callback == where)
            std::exchange(what, [] {})();
    }
};

class ErasedPMTs : public zqtest::ParserTest
{
protected:
    /// Two programs that share the streams 0x101 and 0x102, the PCR_PID 0x103 and the ECM PID 0x104.
    void two_programs()
    {
        tables();
        meddler.feed(stream);
    }

    void tables()
    {
        stream.section(0, PAT({{1, 0x100}, {2, 0x200}}));
        for (const unsigned program : {1U, 2U})
            stream.section(program << 8, PMT(program, 0x103, {0x101, 0x102}, CA(0x104)));
    }

    /// Every kind of packet that the two programs name, plain ones and others.
    void packets()
    {
        for (int count = 0; count < 3; ++count)
            stream.packet(0x101, goes_on, payload).packet(0x102, begins, payload).packet(0x104, goes_on, payload);
        stream.PCR(0x103, 90000, 0);
    }

    Meddler meddler{true};
};

TEST_F(ErasedPMTs, HaveNoPacketsAnyMore)
{
    two_programs();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Contains("PES 256"));
    meddler.m_PMTs.erase(0x100);
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Not(Contains("PES 256")));
    EXPECT_THAT(meddler.lines, Contains("PES 512"));
    EXPECT_THAT(meddler.lines, Contains("PES 512 null"));
    EXPECT_THAT(meddler.lines, Contains("PES 512 unit 184"));
    EXPECT_THAT(meddler.lines, Contains("ECM").Times(3)) << "those of the other program";
}

TEST_F(ErasedPMTs, ComeBackWithANewEntryWhenThePatListsThePidAndThePmtIsSentAgain)
{
    two_programs();
    meddler.m_PMTs.clear();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Not(Contains("PES 256")));
    tables();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Contains("PMT 1 1"));
    EXPECT_THAT(meddler.lines, Contains("PES 256").Times(6));
    ASSERT_EQ(meddler.m_PMTs.count(0x100), 1U);
    EXPECT_EQ(meddler.m_PMTs[0x100]->valid, 1);
    EXPECT_EQ(meddler.m_PMTs[0x100]->current->streams.size(), 2U);
}

TEST_F(ErasedPMTs, MayBeErasedInAnyCallback)
{
    for (const char* where : {"PreProcess", "PAT", "PMT", "packet", "unit", "program", "PCR", "ECM", "other"}) {
        for (const int which : {0x100, 0x200, 0}) {
            Meddler parser(true);
            tables();
            packets();
            parser.feed(stream);
            parser.where = where;
            parser.what = [&] {
                if (which == 0)
                    parser.m_PMTs.clear();
                else
                    parser.m_PMTs.erase(static_cast<unsigned short>(which));
            };
            tables();
            packets();
            parser.feed(stream);
            parser.where.clear();
            tables();
            packets();
            parser.feed(stream);
            EXPECT_THAT(parser.lines, Contains("PES 256").Times(6)) << where << " " << which;
            EXPECT_THAT(parser.lines, Contains("PES 512 null").Times(1)) << where << " " << which;
        }
    }
}

TEST_F(ErasedPMTs, AreNoLongerReportedForThePacketInWhoseCallbackTheyWereErased)
{
    two_programs();
    meddler.where = "packet";
    meddler.what = [this] { meddler.m_PMTs.erase(0x200); };
    stream.packet(0x101, goes_on, payload);
    EXPECT_THAT(meddler.feed(stream), ElementsAre("PES 256", "PES 256 program 1", "other"));
    meddler.what = [this] { meddler.m_PMTs.clear(); };
    stream.PCR(0x103, 1, 0);
    EXPECT_THAT(meddler.feed(stream), ElementsAre("PCR", "PES 256 null", "other"));
}

TEST_F(ErasedPMTs, AreNoLongerReportedForAPlainPacketBeforeWhichTheyWereErased)
{
    two_programs();
    stream.packet(0x101, goes_on, payload).packet(0x101, goes_on, payload);
    meddler.feed(stream);
    meddler.where = "PreProcess";
    meddler.what = [this] { meddler.m_PMTs.clear(); };
    stream.packet(0x101, goes_on, payload);
    EXPECT_THAT(meddler.feed(stream), ElementsAre("other"));
}

TEST_F(ErasedPMTs, MayBeReplacedByEntriesThatNothingWasReadInto)
{
    two_programs();
    meddler.m_PMTs[0x100] = std::make_unique<mpegcore::CPacketWrapper<mpegcore::CPMT>>();
    const auto* const replacement = meddler.m_PMTs[0x100].get();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Not(Contains("PES 256")));
    tables();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Contains("PES 256").Times(6));
    EXPECT_EQ(meddler.m_PMTs[0x100].get(), replacement);
    EXPECT_EQ(replacement->valid, 1);
}

TEST_F(ErasedPMTs, MayBeEmptyPointers)
{
    two_programs();
    meddler.m_PMTs[0x100] = nullptr;
    tables();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Contains("PES 256").Times(6));
}

TEST_F(ErasedPMTs, MayBeTakenAwayAndOutliveTheParser)
{
    std::unique_ptr<mpegcore::CPacketWrapper<mpegcore::CPMT>> kept;
    {
        Journal parser(true);
        tables();
        parser.feed(stream);
        kept = std::move(parser.m_PMTs[0x100]);
        parser.m_PMTs.erase(0x100);
        tables();
        packets();
        parser.feed(stream);
        EXPECT_THAT(parser.lines, Contains("PES 256").Times(6));
    }
    EXPECT_EQ(kept->current->program_number, 1);
}

TEST_F(ErasedPMTs, MayBeExchanged)
{
    two_programs();
    std::swap(meddler.m_PMTs[0x100], meddler.m_PMTs[0x200]);
    tables();
    packets();
    meddler.feed(stream);
    EXPECT_THAT(meddler.lines, Contains("PES 256").Times(6));
    EXPECT_THAT(meddler.lines, Contains("PES 512").Times(6));
    EXPECT_EQ(meddler.m_PMTs[0x100]->current->program_number, 1);
    EXPECT_EQ(meddler.m_PMTs[0x200]->current->program_number, 2);
}

TEST_F(ErasedPMTs, LeaveTheirPartOfTheLimitToOthers)
{
    // 1200 of these together would pass the limit that all PMTs share.
    Bytes loop;
    while (loop.size() + 102 <= 1000)
        loop = loop + (Bytes{0xFE, 100} + Bytes(100));
    ASSERT_GT(1200 * loop.size(), mpegcore::CBaseMpegParser::PMT_limit);
    unsigned seen = 0;
    for (unsigned program = 1; program <= 1200; ++program) {
        stream.section(0, PAT({{program, 0x100 + program}}));
        stream.section(0x100 + program, PMT(program, 0x1FFE, {}, loop));
        const auto lines = meddler.feed(stream);
        seen += std::count(lines.begin(), lines.end(),
                           "PMT " + std::to_string(program) + " " + std::to_string(program)) != 0;
        meddler.m_PMTs.clear();
    }
    EXPECT_EQ(seen, 1200U);
}
} // namespace ErasedPMTs_test
