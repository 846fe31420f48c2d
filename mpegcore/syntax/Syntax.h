// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/syntax/SyntaxBody.h"
#include "mpegcore/syntax/SyntaxPrinter.h"
#include "mpegcore/syntax/SyntaxReader.h"
#include "mpegcore/syntax/SyntaxWriter.h"

// A structure states its fields once, in stream order and with their standard names, in a static member template
//
//     template <class Self, class Io>
//     static bool syntax(Self& d, Io& io) { return io.bits(3, "reserved", d.reserved) && io.bits(13, "CA_PID",
//     d.CA_PID); }
//
// which reads when Io is a SyntaxReader, writes when Io is a SyntaxWriter and prints when Io is a SyntaxPrinter (Self
// is const for these two). All walkers offer the same verbs; each returns false when the data, or the room, ran out.
// Lengths and counts are members like all others: they are written as stored, while vectors are written as long as they
// are.
