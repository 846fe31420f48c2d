// SPDX-License-Identifier: LGPL-2.1-or-later
// Renders a program association section and reads it back, then a descriptor loop.
#include "mpegcore/PAT.h"
#include "mpegcore/zqdescriptorlist.h"
#include "zqsdk/ZQBSReader.h"

#include <cstdio>

int main()
{
    mpegcore::CPAT written(nullptr, 1024);
    written.section_syntax_indicator = 1;
    written.transport_stream_id = 7;
    written.programs[0x100].program_number = 1;
    written.programs[0x100].PID = 0x100;
    if (!written.RenderTable())
        return 1;

    mpegcore::CPAT read(nullptr, 0);
    ZQSDK::ZQBSReaderT<unsigned char*> reader(written.buffer, written.used);
    if (!read.read(reader) || read.transport_stream_id != 7 || read.programs.count(0x100) != 1)
        return 1;

    mpegcore::ZQDescriptorList descriptors;
    unsigned char loop[] = {0x52, 1, 42};
    ZQSDK::ZQBSReaderT<unsigned char*> loop_reader(loop, sizeof loop);
    if (!descriptors.read(loop_reader) || !descriptors.find<mpegcore::stream_identifier_descriptor>())
        return 1;

    std::printf("%zu bytes, CRC_32 %08X\n", written.used, read.CRC_32);
    return 0;
}
