// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/t2mi/T2MIDemultiplexer.h"

#include <gst/gst.h>

#include <cstdint>
#include <vector>

// What `zqt2midemux` tells, in the forms of GStreamer. The caller owns what it gets.

/// The message about an L1 configuration.
[[nodiscard]] GstStructure* zq_t2mi_L1_structure(const mpegcore::L1Current& L1);
/// The message about the PLPs that have a pad.
[[nodiscard]] GstStructure* zq_t2mi_plps_structure(const std::vector<std::uint8_t>& plp_ids);
/// What L1 says of a PLP.
[[nodiscard]] GstTagList* zq_t2mi_tags(const mpegcore::L1PostConfigurable::PLP& plp);
/// The value of the property `stats`; while the demultiplexer works, too.
[[nodiscard]] GstStructure* zq_t2mi_stats_structure(const mpegcore::T2MIDemultiplexer& demultiplexer,
                                                    std::uint64_t rtp_packets, std::uint64_t rtp_lost);
