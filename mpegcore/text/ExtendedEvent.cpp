// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/text/ExtendedEvent.h"

#include <algorithm>
#include <array>

namespace mpegcore
{
namespace
{
/// The descriptors of one language by their descriptor_number.
struct Parts
{
    std::array<unsigned char, 3> language;
    std::array<const extended_event_descriptor*, 16> by_number{};
};

std::vector<Parts> sort_by_language(const ZQDescriptorList& descriptors)
{
    std::vector<Parts> languages;
    for (const auto& descriptor : descriptors) {
        const auto* const event = dynamic_cast<const extended_event_descriptor*>(descriptor.get());
        if (event == nullptr)
            continue;
        auto found = std::find_if(languages.begin(), languages.end(),
                                  [event](const Parts& p) { return p.language == event->ISO_639_language_code; });
        if (found == languages.end())
            found = languages.insert(found, Parts{event->ISO_639_language_code});
        auto& place = found->by_number[event->descriptor_number & 0xFU];
        if (place == nullptr)
            place = event;
    }
    return languages;
}

void append(ExtendedEvent& event, const extended_event_descriptor& part, TextTable unmarked)
{
    bool first = true;
    for (const auto& item : part.items) {
        std::string description = to_utf8(item.item_description_char, unmarked);
        std::string text = to_utf8(item.item_char, unmarked);
        if (first && description.empty() && !event.items.empty())
            event.items.back().text += text;
        else
            event.items.push_back({std::move(description), std::move(text)});
        first = false;
    }
    event.text += to_utf8(part.text_char, unmarked);
}

ExtendedEvent join(const Parts& parts, TextTable unmarked)
{
    ExtendedEvent event;
    event.ISO_639_language_code = latin_1_to_utf8(parts.language.data(), parts.language.size());
    std::size_t count = 0;
    std::size_t last = 0;
    for (const auto* const part : parts.by_number)
        if (part != nullptr) {
            append(event, *part, unmarked);
            last = std::max<std::size_t>({last, part->descriptor_number, part->last_descriptor_number});
            ++count;
        }
    event.complete = count == last + 1;
    return event;
}
} // namespace

std::vector<ExtendedEvent> join_extended_events(const ZQDescriptorList& descriptors, TextTable unmarked)
{
    std::vector<ExtendedEvent> events;
    for (const auto& parts : sort_by_language(descriptors))
        events.push_back(join(parts, unmarked));
    return events;
}
} // namespace mpegcore
