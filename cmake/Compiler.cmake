# SPDX-License-Identifier: LGPL-2.1-or-later
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# Messages that carry __FILE__ name the path inside the source tree, wherever it was built.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wimplicit-fallthrough)
if(ZQ_WERROR)
    add_compile_options(-Werror)
endif()

# On 32-bit systems DVB times need a time_t that goes beyond 2038.
set(ZQ_TIME_BITS)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(ZQ_TIME_BITS _TIME_BITS=64 _FILE_OFFSET_BITS=64)
    add_compile_definitions(${ZQ_TIME_BITS})
endif()

if(ZQ_SANITIZE)
    add_compile_options(-fsanitize=${ZQ_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    if(ZQ_SANITIZE MATCHES "address.*undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # AddressSanitizer sees those accesses, without the code for them that takes long to compile.
        add_compile_options(-fno-sanitize=object-size)
    endif()
    add_link_options(-fsanitize=${ZQ_SANITIZE})
endif()

# The library is instrumented too, so that the fuzzer sees its branches; the targets link the fuzzer themselves.
if(ZQ_LIBFUZZER)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
