// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
// The virtual operations of typed_descriptor. They stand apart from the class, so that only what includes this compiles
// the walks through a descriptor's fields: the list, and whoever has a descriptor class of their own.
#include "mpegcore/base_descriptor.h"
#include "mpegcore/syntax/BlockAllocator.h"
#include "mpegcore/syntax/Syntax.h"

#include <memory>

namespace mpegcore
{
template <class Self, std::uint8_t Tag>
std::shared_ptr<base_descriptor> typed_descriptor<Self, Tag>::create() const
{
    return std::allocate_shared<Self>(BlockAllocator<Self>());
}

template <class Self, std::uint8_t Tag>
void typed_descriptor<Self, Tag>::copyTo(base_descriptor* target) const
{
    auto* const same = dynamic_cast<Self*>(target);
    if (same != nullptr && same != this)
        *same = static_cast<const Self&>(*this);
}

template <class Self, std::uint8_t Tag>
bool typed_descriptor<Self, Tag>::write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const
{
    SyntaxWriter io(writer);
    if (!tag_and_length(*this, io))
        return false;
    io.open_body(descriptor_length);
    return Self::syntax(static_cast<const Self&>(*this), io) && io.bytes(payload.size(), "payload", payload);
}

template <class Self, std::uint8_t Tag>
bool typed_descriptor<Self, Tag>::read(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    if (!base_descriptor::read(reader))
        return false;
    if (payload.data() != nullptr)
        payload = {};
    SyntaxReader io(reader);
    io.open_body(descriptor_length);
    return Self::syntax(static_cast<Self&>(*this), io);
}

template <class Self, std::uint8_t Tag>
void typed_descriptor<Self, Tag>::print(FieldPrinter& printer) const
{
    SyntaxPrinter io(printer);
    if (!tag_and_length(*this, io))
        return;
    io.open_body(descriptor_length);
    static_cast<void>(Self::syntax(static_cast<const Self&>(*this), io) &&
                      (payload.size() == 0 || io.bytes(payload.size(), "payload", payload)));
}
} // namespace mpegcore
