// SPDX-License-Identifier: LGPL-2.1-or-later
// list_services [FILE]: the programs of a transport stream, from FILE or standard input, with their names and streams.
#include "mpegcore/BaseMpegParser.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{
// Tables are reported as often as they are sent, and their pointers do not last: keep what is wanted, print at the end.
class ServiceList : public mpegcore::CBaseMpegParser
{
public:
    ServiceList() : CBaseMpegParser(true) {}

    void OnPAT(mpegcore::CPAT* table) override
    {
        for (const auto& [PID, entry] : table->programs)
            if (entry.program_number != 0)
                m_programs[entry.program_number].PMT_PID = PID;
    }

    void OnPMT(mpegcore::CBaseMpegProgram*, mpegcore::CPMT* table) override
    {
        auto& streams = m_programs[table->program_number].streams;
        streams.clear();
        for (const auto& [PID, stream] : table->streams)
            streams[PID] = stream->stream_type;
    }

    void OnSDT(mpegcore::CSDT* table) override
    {
        if (table->table_id != 0x42) // of this transport stream, not of another
            return;
        for (const auto& [service_id, service] : table->services)
            if (const auto names = service->descriptors.find<mpegcore::service_descriptor>())
                m_programs[service_id].name.assign(names->service_name.begin(),
                                                   names->service_name.begin() + names->service_name_length);
    }

    void print() const
    {
        for (const auto& [number, program] : m_programs) {
            std::printf("program %u  PMT on PID %u  \"%s\"\n", number, program.PMT_PID, program.name.c_str());
            for (const auto& [PID, stream_type] : program.streams)
                std::printf("    PID %u  stream_type 0x%02X\n", PID, stream_type);
        }
    }

private:
    struct Program
    {
        unsigned PMT_PID = 0;
        std::string name; // as transmitted; plain Latin names need no conversion
        std::map<unsigned, unsigned> streams;
    };
    std::map<unsigned, Program> m_programs;
};
} // namespace

int main(int argc, char** argv)
{
    std::FILE* const input = argc > 1 ? std::fopen(argv[1], "rb") : stdin;
    if (input == nullptr) {
        std::perror(argv[1]);
        return 1;
    }
    ServiceList services;
    std::vector<unsigned char> bytes(65536);
    while (const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), input))
        services.Process(bytes.data(), count);
    services.print();
    return 0;
}
