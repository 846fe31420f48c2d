// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

namespace zqtest
{
// GCC tells by macros what clang++ tells by its features.
#if defined(__has_feature)
inline constexpr bool address_sanitizer = __has_feature(address_sanitizer);
inline constexpr bool thread_sanitizer = __has_feature(thread_sanitizer);
#else
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool address_sanitizer = true;
#else
inline constexpr bool address_sanitizer = false;
#endif
#if defined(__SANITIZE_THREAD__)
inline constexpr bool thread_sanitizer = true;
#else
inline constexpr bool thread_sanitizer = false;
#endif
#endif
} // namespace zqtest
