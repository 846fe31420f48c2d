// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "support/Tables.h"

#include <memory>

namespace zqtest
{
// Each ends a loop of its table with an empty descriptor, which the stated dictionary would leave out.
inline void end_with_an_empty_one(mpegcore::ZQDescriptorList& list)
{
    auto empty = std::make_shared<mpegcore::base_descriptor>();
    empty->descriptor_tag = 0x6F;
    list.append(std::move(empty));
}

inline void end_last_loop(mpegcore::CPMT& t) { end_with_an_empty_one(t.streams.rbegin()->second->descriptors); }
inline void end_last_loop(mpegcore::CDescriptorTable& t) { end_with_an_empty_one(t.descriptors); }
inline void end_last_loop(mpegcore::CNIT& t) { end_with_an_empty_one(t.transport_streams.back()->descriptors); }
inline void end_last_loop(mpegcore::CBAT& t) { end_with_an_empty_one(t.bouquet_descriptors); }
inline void end_last_loop(mpegcore::CSDT& t) { end_with_an_empty_one(t.services.rbegin()->second->descriptors); }
inline void end_last_loop(mpegcore::CEIT& t)
{
    end_with_an_empty_one(t.events.back()->descriptors);
    t.events.back()->descriptors_loop_length += 2;
}
inline void end_last_loop(mpegcore::CTOT& t) { end_with_an_empty_one(t.descriptors); }
} // namespace zqtest
