// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/descriptors/DescriptorPlace.h"
#include "mpegcore/syntax/BlockAllocator.h"
#include "mpegcore/syntax/FieldPrinter.h"
#include "zqsdk/ZQAlignMemory.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

// What the fields of descriptors are made of, too.
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// Base of every descriptor, and itself the generic descriptor: it keeps the body of a tag that no dictionary knows as
/// raw bytes. Lengths and counts are stored members; nothing ever recomputes them.
class base_descriptor
{
public:
    base_descriptor() = default;
    base_descriptor(const base_descriptor& other) { *this = other; }
    /// The copy has a payload of its own, descriptor_length bytes long on an 8-byte boundary. A source without payload
    /// leaves the target's buffer alone.
    base_descriptor& operator=(const base_descriptor& other);
    virtual ~base_descriptor() = default;

    /// A new default object of the same dynamic class.
    virtual std::shared_ptr<base_descriptor> create() const;
    /// Makes `target`, an object of the same dynamic class such as create() returns, equal to this one. A null pointer,
    /// this object itself and an object of another class are left alone.
    virtual void copyTo(base_descriptor* target) const;
    /// Tag, stored length and body. Here always true: what has no room is dropped. Typed classes return false when a
    /// field did not fit.
    virtual bool write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const;
    /// Here tag and length only; the list reads the body of a generic descriptor. False when the data end before
    /// descriptor_length bytes of body, or, in a typed class, before its last field.
    virtual bool read(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    /// Hands tag, stored length and every field to `printer`, in stream order and by their standard names.
    virtual void print(FieldPrinter& printer) const;

    std::uint8_t descriptor_tag = 0;
    /// Bytes of the body as read, or as set by whoever builds the descriptor.
    std::uint8_t descriptor_length = 0;
    /// The body of a generic descriptor. In typed classes what a loop by the standards has behind the syntax, up to
    /// descriptor_length, and else empty.
    ZQSDK::ZQAlignMemory<unsigned char> payload;

protected:
    template <class Self, class Io>
    static bool tag_and_length(Self& d, Io& io)
    {
        return io.bits(8, "descriptor_tag", d.descriptor_tag) && io.bits(8, "descriptor_length", d.descriptor_length);
    }

    explicit base_descriptor(std::uint8_t tag) : descriptor_tag(tag) {}
};

/// What every typed class shares: the virtual operations, made from `Self::syntax` and the copy operations of Self.
/// Those of the library's classes are in the library; for a class of one's own include mpegcore/typed_descriptor.h.
template <class Self, std::uint8_t Tag>
class typed_descriptor : public base_descriptor
{
public:
    static constexpr std::uint8_t tag = Tag;
    /// Where the dictionaries find the class; a class that is to be found elsewhere states its own.
    static constexpr auto places = places_of_tag(Tag, {ZQDescriptorType::TS, ZQDescriptorType::Standard});

    typed_descriptor() : base_descriptor(Tag) {}
    typed_descriptor(const typed_descriptor& other) : base_descriptor(Tag) { *this = other; }
    typed_descriptor& operator=(const typed_descriptor& other)
    {
        descriptor_tag = other.descriptor_tag;
        descriptor_length = other.descriptor_length;
        if (payload.data() != nullptr || other.payload.data() != nullptr)
            payload = other.payload;
        return *this;
    }

    std::shared_ptr<base_descriptor> create() const override;
    void copyTo(base_descriptor* target) const override;
    bool write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const override;
    bool read(ZQSDK::ZQBSReaderT<unsigned char*>& reader) override;
    void print(FieldPrinter& printer) const override;
};

/// A class that only the dictionary Standard has, beside the stated ones.
template <class Self, std::uint8_t Tag>
class standard_descriptor : public typed_descriptor<Self, Tag>
{
public:
    static constexpr auto places = places_of_tag(Tag, {ZQDescriptorType::Standard});
};

/// The same behind the tag 0x7F.
template <class Self, std::uint8_t Extension>
class standard_extension : public typed_descriptor<Self, DescriptorPlace::extension_tag>
{
public:
    static constexpr std::array places{
        DescriptorPlace{ZQDescriptorType::Standard, DescriptorPlace::extension_tag, Extension}};
};

/// A class of the application information table, whose tags are a space of their own.
template <class Self, std::uint8_t Tag>
class application_information_descriptor : public typed_descriptor<Self, Tag>
{
public:
    static constexpr auto places = places_of_tag(Tag, {ZQDescriptorType::StandardAIT});
};

inline bool base_descriptor::read(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
{
    return reader.getBits<8>(descriptor_tag) && reader.getBits<8>(descriptor_length) &&
           descriptor_length <= reader.availableBytes();
}
} // namespace mpegcore
