// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/base_descriptor.h"
#include "mpegcore/descriptors/DescriptorRegistry.h"
#include "mpegcore/syntax/BlockAllocator.h"
#include "zqsdk/ZQBSReader.h"
#include "zqsdk/ZQBSWriter.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mpegcore
{
/// A descriptor loop: typed descriptors in stream order, those with an unknown tag as generic ones. The list shares
/// ownership of its descriptors with whoever found or appended them. What was read by the standards, where no
/// descriptor can be refused, becomes objects when it is first looked at; several threads may do so at once.
class ZQDescriptorList
{
public:
    using container = std::vector<std::shared_ptr<base_descriptor>, BlockAllocator<std::shared_ptr<base_descriptor>>>;

    explicit ZQDescriptorList(ZQDescriptorType type = ZQDescriptorType::TS) : m_type(type) {}
    virtual ~ZQDescriptorList() { drop_unread(); }
    ZQDescriptorList(const ZQDescriptorList&) = delete;
    ZQDescriptorList& operator=(const ZQDescriptorList&) = delete;

    /// Appends the descriptors of a loop that is all that is left in `reader`. False when one of them does not parse;
    /// those before it stay in the list. Deliberate: 1 or 2 bytes at the end are ignored, be they an empty descriptor,
    /// unless the dictionary is one by the standards.
    [[nodiscard]] bool read(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    /// read() with a dictionary other than the list's own.
    [[nodiscard]] bool readTS(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    [[nodiscard]] bool readSCTE35(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    /// The same with one of the dictionaries by the standards. False when a descriptor_length runs past the loop, those
    /// before it staying in the list, and with a `type` that is none of these. A last byte alone is left unread.
    [[nodiscard]] bool readStandard(ZQSDK::ZQBSReaderT<unsigned char*>& reader,
                                    ZQDescriptorType type = ZQDescriptorType::Standard);

    /// Reads one descriptor as a T, whatever its tag, and appends it. False, and nothing is appended, when that fails.
    template <class T>
    [[nodiscard]] bool add(ZQSDK::ZQBSReaderT<unsigned char*>& reader)
    {
        auto descriptor = std::allocate_shared<T>(BlockAllocator<T>());
        if (!descriptor->T::read(reader))
            return false;
        append(std::move(descriptor));
        return true;
    }

    /// Shares the descriptor; an empty pointer is not appended.
    void append(std::shared_ptr<base_descriptor> descriptor);

    /// The first descriptor of this tag, or an empty pointer.
    std::shared_ptr<base_descriptor> find(unsigned char tag) const;
    /// The first descriptor of this class, or an empty pointer.
    template <class T>
    std::shared_ptr<T> find() const
    {
        for (const auto& descriptor : descriptors())
            if (auto found = std::dynamic_pointer_cast<T>(descriptor))
                return found;
        return nullptr;
    }

    /// Writes the descriptors, without a loop length. What has no room is dropped.
    void write(ZQSDK::ZQBSWriterT<unsigned char*>& writer) const;
    /// Bytes of the loop by the stored lengths: the sum of 2 + descriptor_length.
    std::uint32_t getSize() const;
    /// Appends copies that share nothing with this list; `target` keeps its type. Onto itself it does nothing.
    void copyTo(ZQDescriptorList& target) const;
    void clear()
    {
        drop_unread();
        m_descriptors.clear();
    }

    ZQDescriptorType type() const { return m_type; }
    std::size_t size() const { return descriptors().size(); }
    bool empty() const { return !has_unread() && m_descriptors.empty(); }
    container::const_iterator begin() const { return descriptors().begin(); }
    container::const_iterator end() const { return descriptors().end(); }

private:
    using read_one = bool (ZQDescriptorList::*)(ZQSDK::ZQBSReaderT<unsigned char*>&);
    class dictionary;

    struct descriptor_start;
    struct unread_loop;

    static const dictionary& dictionary_of(ZQDescriptorType type);
    bool read_with(const dictionary& tags, ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    bool add_generic(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    bool add_extension(ZQSDK::ZQBSReaderT<unsigned char*>& reader);
    bool add_whole(read_one read_class, ZQSDK::ZQBSReaderT<unsigned char*>& whole);
    bool read_by_the_standards(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType type);
    bool keep_unread(ZQSDK::ZQBSReaderT<unsigned char*>& reader, ZQDescriptorType type);

    bool has_unread() const { return m_unread.load(std::memory_order_acquire) != nullptr; }
    void read_now() const;
    void drop_unread()
    {
        if (has_unread())
            give_back(m_unread.exchange(nullptr));
    }
    static void give_back(unread_loop* loop);
    const container& descriptors() const
    {
        if (has_unread())
            read_now();
        return m_descriptors;
    }

    mutable container m_descriptors;                     ///< empty while there is something unread
    mutable std::atomic<unread_loop*> m_unread{nullptr}; ///< owned
    const ZQDescriptorType m_type;
};
} // namespace mpegcore
