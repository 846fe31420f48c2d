// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"

namespace zqbench
{
/// Every callback overridden, each by a counter.
class CountingParser : public mpegcore::CBaseMpegParser
{
public:
    using packet = mpegcore::transport_packet;
    using CBaseMpegParser::CBaseMpegParser;
    using CBaseMpegParser::only_read_adaptation_fields;

    void OnPreProcess(unsigned int, const packet&) override { ++packets; }
    void OnProcess(unsigned int, packet&) override { ++processed; }
    void OnPAT(mpegcore::CPAT*) override { ++tables; }
    void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT*) override { ++tables; }
    void OnCAT(mpegcore::CCAT*) override { ++tables; }
    void OnTSDT(mpegcore::CTSDT*) override { ++tables; }
    void OnSDT(mpegcore::CSDT*) override { ++tables; }
    void OnEIT(mpegcore::CEIT* eit) override
    {
        ++tables;
        events += eit->events.size();
    }
    void OnNIT(mpegcore::CNIT*) override { ++tables; }
    void OnTDT(mpegcore::CTDT*) override { ++tables; }
    void OnTOT(mpegcore::CTOT*) override { ++tables; }
    void OnPES(unsigned short, const mpegcore::CBaseStreamTypeMap*, packet*) override { ++elementary; }
    void OnPES(unsigned short, mpegcore::CBaseStreamTypeMap*, unsigned char*, unsigned long) override { ++units; }
    void OnPES(unsigned short, unsigned short, const mpegcore::CBaseStreamTypeMap*, packet*) override { ++elementary; }
    void OnPCR(packet*) override { ++PCRs; }
    void OnEMM(packet*) override { ++others; }
    void OnECM(packet*) override { ++others; }
    void OnBAT(mpegcore::CBAT*) override { ++tables; }
    void OnNULL(packet*) override { ++nulls; }
    void onOtherPid(packet*) override { ++others; }
    void OnSection(unsigned short, const unsigned char*, unsigned long) override { ++sections; }
    void OnSectionCRCFailed(unsigned short, const unsigned char*, unsigned long) override { ++sections; }

    unsigned long packets = 0, processed = 0, tables = 0, events = 0, elementary = 0, units = 0, PCRs = 0, others = 0,
                  nulls = 0, sections = 0;
};
} // namespace zqbench
