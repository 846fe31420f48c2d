// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace support
{
/// Takes a right (CAP_...) from the thread that makes it, as long as this lives.
class without_right
{
public:
    explicit without_right(unsigned right)
    {
        m_had = call(SYS_capget, m_before) && (m_before[right / 32].effective >> right % 32 & 1) != 0;
        auto less = m_before;
        less[right / 32].effective &= ~(std::uint32_t{1} << right % 32);
        m_is_taken = m_had && call(SYS_capset, less);
    }
    ~without_right()
    {
        if (m_is_taken)
            call(SYS_capset, m_before);
    }
    without_right(const without_right&) = delete;
    without_right& operator=(const without_right&) = delete;

    /// False for a thread that did not have it.
    [[nodiscard]] bool is_taken() const { return m_is_taken; }

private:
    using sets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

    static bool call(long number, sets& of)
    {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        return ::syscall(number, &header, of.data()) == 0;
    }

    sets m_before{};
    bool m_had = false, m_is_taken = false;
};
} // namespace support
