// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"

#include <cstdint>

/// Descriptors that the library does not have, as a user of it would write them.
namespace zqtest
{
using mpegcore::typed_descriptor;

class Wide : public typed_descriptor<Wide, 0xF7>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(64, "wide", d.wide);
    }
    std::uint64_t wide = 0xFFFFFFFFFFFFFFFE;
};

class Repeating : public typed_descriptor<Repeating, 0xF7>
{
public:
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.bits(4, "reserved2", d.field) && io.bits(4, "reserved", d.field) && io.bits(8, "reserved", d.field) &&
               io.bits(8, "reserved", d.field);
    }
    std::uint8_t field = 1;
};

class Nesting : public typed_descriptor<Nesting, 0xF7>
{
public:
    struct inner
    {
        template <class Self, class Io>
        static bool syntax(Self& i, Io& io)
        {
            return io.reserved(4) && io.bits(4, "field", i.field);
        }
        std::uint8_t field = 7;
    };
    template <class Self, class Io>
    static bool syntax(Self& d, Io& io)
    {
        return io.entry("inner", d.record) && io.bits(8, "field", d.field);
    }
    inner record;
    std::uint8_t field = 8;
};
} // namespace zqtest
