// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/BaseMpegParser.h"
#include "support/TableLines.h"

#include <map>
#include <string>
#include <vector>

namespace zqtest
{
/// Counts every callback, in all and by PID or table_id, and keeps one line per table.
class RecordingParser : public mpegcore::CBaseMpegParser
{
public:
    using counts = std::map<std::string, long>;
    using packet = mpegcore::transport_packet;

    explicit RecordingParser(bool use_carry) : CBaseMpegParser(use_carry)
    {
        for (const char* name : {"OnPreProcess", "OnProcess", "OnPAT", "OnPMT", "OnCAT",     "OnTSDT",    "OnSDT",
                                 "OnEIT",        "OnNIT",     "OnTDT", "OnTOT", packet_form, unit_form,   program_form,
                                 "OnPCR",        "OnEMM",     "OnECM", "OnBAT", "OnNULL",    "onOtherPid"})
            count["callbacks/" + std::string(name)] = 0;
    }

    void OnPreProcess(unsigned int, const packet& p) override
    {
        called("OnPreProcess");
        PID = p.PID;
        ++index;
    }
    void OnProcess(unsigned int, packet&) override { called("OnProcess"); }
    void OnPAT(mpegcore::CPAT* t) override { table("OnPAT", *t); }
    void OnPMT(mpegcore::CBaseMpegProgram* program, mpegcore::CPMT* t) override
    {
        table("OnPMT", *t, formatted("pat_program=%u ", program->program_number));
    }
    void OnCAT(mpegcore::CCAT* t) override { table("OnCAT", *t); }
    void OnTSDT(mpegcore::CTSDT* t) override { table("OnTSDT", *t); }
    void OnSDT(mpegcore::CSDT* t) override { table("OnSDT", *t); }
    void OnEIT(mpegcore::CEIT* t) override { table("OnEIT", *t); }
    void OnNIT(mpegcore::CNIT* t) override { table("OnNIT", *t); }
    void OnTDT(mpegcore::CTDT* t) override { table("OnTDT", *t); }
    void OnTOT(mpegcore::CTOT* t) override { table("OnTOT", *t); }
    void OnBAT(mpegcore::CBAT* t) override { table("OnBAT", *t); }
    void OnPES(unsigned short, const mpegcore::CBaseStreamTypeMap* stream, packet* p) override
    {
        called(packet_form);
        elementary(p->PID, stream == nullptr ? "null_es" : "packets", 1);
    }
    void OnPES(unsigned short, mpegcore::CBaseStreamTypeMap* stream, unsigned char*, unsigned long size) override
    {
        called(unit_form);
        elementary(stream->elementary_PID, "units", 1);
        elementary(stream->elementary_PID, "unit_bytes", static_cast<long>(size));
    }
    void OnPES(unsigned short, unsigned short, const mpegcore::CBaseStreamTypeMap*, packet*) override
    {
        called(program_form);
    }
    void OnPCR(packet* p) override { of_PID("OnPCR", p->PID); }
    void OnEMM(packet* p) override { of_PID("OnEMM", p->PID); }
    void OnECM(packet* p) override { of_PID("OnECM", p->PID); }
    void OnNULL(packet*) override { called("OnNULL"); }
    void onOtherPid(packet* p) override { of_PID("onOtherPid", p->PID); }

    counts count; ///< by path, for example "OnPCR_per_pid/0x0100"
    std::vector<std::string> lines;
    long index = -1; ///< of the packet being handled
    unsigned short PID = 0;

private:
    static constexpr const char* packet_form = "OnPES(pmt_pid,es,packet)";
    static constexpr const char* unit_form = "OnPES(pmt_pid,es,data,size)";
    static constexpr const char* program_form = "OnPES(pmt_pid,program_number,es,packet)";

    void called(const std::string& name) { ++count["callbacks/" + name]; }

    void of_PID(const std::string& name, unsigned short pid)
    {
        called(name);
        ++count[name + "_per_pid/" + formatted("0x%04x", pid)];
    }

    void elementary(unsigned short pid, const char* what, long add)
    {
        const std::string path = "OnPES_per_pid/" + formatted("0x%04x/", pid);
        for (const char* name : {"units", "unit_bytes", "packets", "null_es"})
            count[path + name] += 0;
        count[path + what] += add;
    }

    template <class Table>
    void table(const std::string& name, const Table& t, const std::string& extra = {})
    {
        called(name);
        ++count["callbacks_by_table_id/" + name + formatted("/0x%02x", t.table_id)];
        lines.push_back(std::to_string(index) + " " + name + formatted(" pid=0x%04x ", PID) + extra + fields_text(t));
    }
};
} // namespace zqtest
