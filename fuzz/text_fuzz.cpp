// SPDX-License-Identifier: LGPL-2.1-or-later
// The first byte is the table of unmarked texts, the rest a text. What it becomes is valid UTF-8 without control
// characters, comes back the same by way of the encoder, and is no longer than promised. Read as UTF-8, the rest goes
// through the encoder, too.
#include "mpegcore/text/DVBText.h"
#include "mpegcore/text/UTF8.h"

#include <cstdlib>

namespace text_target
{
using namespace mpegcore;

void require(bool held)
{
    if (!held)
        std::abort();
}

bool is_control(char32_t code)
{
    return (code < 0x20 && code != '\n') || (code >= 0x7F && code < 0xA0) || (code >= 0xE080 && code <= 0xE09F);
}

/// Decodes and encodes it again: a sequence that is none would not come back as it was.
void require_clean_utf8(const std::string& text)
{
    std::string again;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t code = next_code_point(text, at);
        require(!is_control(code));
        append_utf8(again, code);
    }
    require(again == text);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size)
{
    if (size == 0 || size > 512)
        return 0;
    const auto unmarked = static_cast<TextTable>(input[0] % (static_cast<unsigned>(TextTable::private_encoding) + 1));
    if (static_cast<int>(unmarked) == 12)
        return 0; // ISO/IEC 8859 has no part 12
    const std::string text = to_utf8(input + 1, size - 1, unmarked);
    require(text.size() <= 3 * (size - 1));
    require_clean_utf8(text);
    require_clean_utf8(latin_1_to_utf8(input + 1, size - 1));

    const auto bytes = from_utf8({reinterpret_cast<const char*>(input + 1), size - 1}, unmarked);
    const std::string kept = to_utf8(bytes, unmarked);
    require_clean_utf8(kept);
    require(to_utf8(from_utf8(kept, unmarked), unmarked) == kept);
    return 0;
}
} // namespace text_target
