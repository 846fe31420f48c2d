#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# packaging/check-uninstall.sh: `./zq install` for PREFIX=/usr below a scratch folder puts the plugin where GStreamer
# looks for it, and `./zq uninstall` leaves nothing behind but what was there before.
set -euo pipefail
cd "$(dirname "$0")/.."
DESTDIR=$(mktemp -d)
trap 'rm -rf "$DESTDIR"' EXIT
export DESTDIR PREFIX=/usr

fail() { echo "check-uninstall: $*" >&2; exit 1; }

mkdir -p "$DESTDIR/usr/include"
touch "$DESTDIR/usr/include/neighbour.h"
./zq install >"$DESTDIR/log"
plugin=$(pkg-config --variable=pluginsdir gstreamer-1.0)/libgstzqnetsource.so
[ -f "$DESTDIR$plugin" ] || fail "no $plugin"
./zq uninstall
left=$(find "$DESTDIR/usr" -type f)
[ "$left" = "$DESTDIR/usr/include/neighbour.h" ] || fail "left behind: $left"
[ ! -e "$DESTDIR/usr/include/mpegcore" ] || fail "left behind: include/mpegcore"
! ./zq uninstall 2>/dev/null || fail "there was nothing left to uninstall"
echo "PREFIX=/usr: ${plugin#/usr/}, uninstalled"
