#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""play_and_print_stats.py URI [SECONDS [SINK]]: plays what zqudpsrc receives and prints its figures once a second.

    GST_PLUGIN_PATH=/usr/local/lib/gstreamer-1.0 \\
        python3 examples/play_and_print_stats.py 'udp://239.1.1.1:5000?interface=eth0'

SINK is what stands behind the source, "decodebin ! autovideosink" unless given. Needs python3-gi.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import GLib, Gst  # noqa: E402


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    uri = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 0
    sink = sys.argv[3] if len(sys.argv) > 3 else "decodebin ! autovideosink"

    Gst.init(None)
    pipeline = Gst.parse_launch(f"zqudpsrc name=source ! {sink}")
    source = pipeline.get_by_name("source")
    try:
        source.set_uri(uri)
    except GLib.Error as error:
        sys.exit(error.message)
    loop = GLib.MainLoop()
    failed = []

    def on_message(_bus, message):
        if message.type == Gst.MessageType.ERROR:
            failed.append(message.parse_error()[0].message)
            loop.quit()
        elif message.type == Gst.MessageType.EOS:
            loop.quit()
        elif message.type == Gst.MessageType.WARNING:
            print(message.parse_warning()[0].message, file=sys.stderr)

    def print_stats():
        stats = source.get_property("stats")
        names = ("datagrams", "bit-rate", "kernel-drops", "not-ts", "rtp-lost", "continuity-errors")
        print("  ".join(f"{name} {stats.get_value(name)}" for name in names), flush=True)
        print_stats.left -= 1
        if print_stats.left == 0:
            loop.quit()
        return True

    print_stats.left = seconds
    bus = pipeline.get_bus()
    bus.add_signal_watch()
    bus.connect("message", on_message)
    GLib.timeout_add_seconds(1, print_stats)
    pipeline.set_state(Gst.State.PLAYING)
    try:
        loop.run()
    except KeyboardInterrupt:
        pass
    pipeline.set_state(Gst.State.NULL)
    if failed:
        sys.exit(failed[0])


main()
