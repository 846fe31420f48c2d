// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

namespace mpegcore
{
/// What an audio stream adds to the programme: ETSI EN 300 468, 6.4.11.
class supplementary_audio_descriptor : public standard_extension<supplementary_audio_descriptor, 0x06>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag_extension", d.descriptor_tag_extension) &&
               io.bits(1, "mix_type", d.mix_type) &&
               io.bits(5, "editorial_classification", d.editorial_classification) &&
               io.bits(1, "reserved_future_use", d.reserved_future_use) &&
               io.bits(1, "language_code_present", d.language_code_present) &&
               (d.language_code_present == 0 || io.code("ISO_639_language_code", d.ISO_639_language_code)) &&
               io.rest("private_data_byte", d.private_data_byte);
    }

    std::uint8_t descriptor_tag_extension = 0;
    /// 0 to be mixed by the receiver, 1 complete.
    std::uint8_t mix_type = 0;
    std::uint8_t editorial_classification = 0;
    std::uint8_t reserved_future_use = 0;
    std::uint8_t language_code_present = 0;
    /// When language_code_present is 1.
    std::array<unsigned char, 3> ISO_639_language_code{};
    std::vector<unsigned char> private_data_byte;
};
} // namespace mpegcore
