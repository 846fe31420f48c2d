#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# packaging/check-install.sh BUILD_DIR: installs a finished build into a scratch folder and uses it as a stranger
# would: a program found through find_package, the same through pkg-config, every installed header, and the plugin.
# The same program again with the whole tree as a part of its project, which must not become more than the library.
set -euo pipefail
[ $# -eq 1 ] || { sed -n '3,5s/^# //p' "$0" >&2; exit 2; }
build=$(cd "$1" && pwd)
consumer=$(cd "$(dirname "$0")" && pwd)/consumer
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

fail() { echo "check-install: $*" >&2; exit 1; }
only() { # only FOLDER NAME: the one file of that name
    find "$1" -name "$2" | grep . || fail "no $2 was installed"
}

cmake --install "$build" --prefix "$prefix" >"$scratch/install.log" || { cat "$scratch/install.log"; exit 1; }
# Whatever was moved elsewhere afterwards must still work.
mv "$prefix" "$scratch/moved"
prefix=$scratch/moved

build_consumer() { # build_consumer FOLDER OPTION...
    cmake -G Ninja -S "$consumer" -B "$scratch/$1" "${@:2}" >"$scratch/cmake.log" 2>&1 &&
        cmake --build "$scratch/$1" >>"$scratch/cmake.log" 2>&1 || { cat "$scratch/cmake.log"; fail "$1"; }
}

build_consumer find_package -DCMAKE_PREFIX_PATH="$prefix" -DZQ_VERSION="$version"
by_cmake=$("$scratch/find_package/consumer") || fail "the program built through find_package failed"
echo "find_package: $by_cmake"

# In a folder whose name has a space.
tree="$scratch/a tree"
mkdir "$tree"
git -C "$consumer/../.." ls-files -z | (cd "$consumer/../.." && xargs -0 cp --parents -t "$tree")
build_consumer add_subdirectory -DZQ_TREE="$tree" -DZQ_UNITY=ON # in half the time
[ "$by_cmake" = "$("$scratch/add_subdirectory/consumer")" ] || fail "the program with the tree inside disagrees"
cmake --install "$scratch/add_subdirectory" --prefix "$scratch/embedded" >/dev/null
[ ! -e "$scratch/embedded" ] || fail "the tree inside a project installed something"
echo "add_subdirectory: the same"

pc=$(only "$prefix" mpegcore.pc)
export PKG_CONFIG_PATH=${pc%/*}
read -ra flags <<<"$(pkg-config --cflags mpegcore)"
read -ra libs <<<"$(pkg-config --libs mpegcore)"
compiler=${CXX:-c++}
"$compiler" -std=c++17 "${flags[@]}" "$consumer/consumer.cpp" "${libs[@]}" -o "$scratch/by-pkg-config"
by_pkg_config=$("$scratch/by-pkg-config") || fail "the program built through pkg-config failed"
[ "$by_cmake" = "$by_pkg_config" ] || fail "the two programs disagree: $by_pkg_config"
[ "$(pkg-config --modversion mpegcore)" = "$version" ] || fail "pkg-config gives another version than $version"
echo "pkg-config $version: the same"

# No installed header may need one that stayed behind.
(cd "$prefix/include" && find . -name '*.h' -printf '#include "%P"\n') | sort >"$scratch/all-headers.cpp"
"$compiler" -std=c++17 -fsyntax-only "${flags[@]}" "$scratch/all-headers.cpp"
! grep -rlE 'include "mpegcore/(crc|parser)/' "$prefix/include" || fail "these headers include private ones"
echo "headers: $(wc -l <"$scratch/all-headers.cpp")"

for tool in zq-t2mi-mux zq-t2mi-demux zq-tables zq-monitor; do
    "$(only "$prefix/bin" "$tool")" --help | grep -q "^Usage: .*$tool" || fail "$tool does not run"
done
only "$prefix/share/man/man1" zq-monitor.1 >/dev/null

grep -q '^ZQ_ELEMENT:BOOL=ON' "$build/CMakeCache.txt" || exit 0
build_consumer add_subdirectory -DZQ_ELEMENT=ON
for plugin in libgstzqnetsource.so libgstzqmpegts.so; do
    only "$scratch/add_subdirectory" "$plugin" >/dev/null
done
echo "add_subdirectory with the elements: both plugins"
inspect() { # inspect ELEMENT PLUGIN_FILE PAD
    local plugin described
    plugin=$(only "$prefix" "$2")
    described=$(GST_PLUGIN_PATH=${plugin%/*} GST_PLUGIN_SYSTEM_PATH=$scratch/none GST_REGISTRY=$scratch/registry.bin \
        gst-inspect-1.0 "$1") || fail "gst-inspect-1.0 does not find $1"
    grep -qF "$plugin" <<<"$described" || fail "gst-inspect-1.0 found another plugin with $1"
    grep -qF "$3" <<<"$described" || fail "$1 has no pad template $3"
    echo "gst-inspect-1.0 $1: ${plugin#"$scratch"/}"
}
inspect zqnetsource libgstzqnetsource.so src_net
inspect zqudpsrc libgstzqmpegts.so src
inspect zqt2midemux libgstzqmpegts.so plp_%u
