// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/SyntaxReader.h"
#include "mpegcore/syntax/SyntaxWriter.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <cstddef>

namespace mpegcore
{
/// Reads a record that states its syntax from the `size` bytes at `data`. False when they are too few or the syntax
/// refuses them; the record then is partly read.
template <class Record>
[[nodiscard]] bool read_record(Record& record, const unsigned char* data, std::size_t size)
{
    // Reading stores nothing.
    ZQSDK::ZQBSReaderT<unsigned char*> reader(const_cast<unsigned char*>(data), size);
    SyntaxReader io(reader);
    io.open_body(size);
    return Record::syntax(record, io);
}

/// Writes it into the `size` bytes at `data`. Returns the bytes written; 0 when they are too few.
template <class Record>
[[nodiscard]] std::size_t write_record(const Record& record, unsigned char* data, std::size_t size)
{
    ZQSDK::ZQBSWriterT<unsigned char*> writer(data, size);
    SyntaxWriter io(writer);
    io.open_body(size);
    if (!Record::syntax(record, io))
        return 0;
    writer.flush();
    return writer.bytesWritten();
}
} // namespace mpegcore
