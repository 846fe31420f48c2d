// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <fcntl.h>

#include <algorithm>
#include <vector>

namespace support
{
inline std::vector<int> open_descriptors()
{
    std::vector<int> open;
    for (int descriptor = 0; descriptor < 2048; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) >= 0)
            open.push_back(descriptor);
    return open;
}

/// The socket that `open_socket` opened, found as the only new descriptor.
template <class Action>
int descriptor_opened_by(Action open_socket)
{
    const auto before = open_descriptors();
    open_socket();
    for (const int descriptor : open_descriptors())
        if (std::find(before.begin(), before.end(), descriptor) == before.end())
            return descriptor;
    return -1;
}
} // namespace support
