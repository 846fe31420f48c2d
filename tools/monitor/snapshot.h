// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/monitor/StreamContents.h"
#include "mpegcore/monitor/T2MIWatch.h"
#include "mpegcore/monitor/TR101290.h"
#include "tools/monitor/delivery_meter.h"
#include "zq_net/input_figures.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace monitor
{
/// A splice command (ANSI/SCTE 35) that came.
struct splice_note
{
    std::uint64_t serial = 0; ///< counts from 1
    std::uint64_t time = 0;   ///< nanoseconds since 1970
    std::uint16_t PID = 0;
    std::uint16_t program_number = 0;
    std::string command; ///< "splice_insert", with its event id where it has one
    std::optional<std::uint64_t> pts_time;
    std::optional<std::int64_t> ahead; ///< nanoseconds up to the splice point
};

/// A table that came or changed.
struct table_note
{
    std::uint64_t serial = 0;
    std::uint64_t time = 0;
    std::string text; ///< "PMT of program 1 changed from version 3 to 4"
};

struct table_state
{
    mpegcore::TableIdentity identity;
    mpegcore::TableVersion version;
};

struct pid_state
{
    mpegcore::PIDFigures figures; ///< its PCR leads nowhere
    std::optional<mpegcore::PCRFigures> PCR;
};

struct plp_state
{
    mpegcore::PLPFigures figures; ///< its L1 leads nowhere
    std::optional<mpegcore::L1PostConfigurable::PLP> L1;
};

/// What the T2-MI stream in it carries.
struct t2mi_state
{
    std::uint16_t PID = 0;
    std::optional<std::uint8_t> t2mi_stream_id;
    std::uint64_t packets = 0; ///< T2-MI packets
    std::optional<mpegcore::L1Pre> L1;
    std::vector<plp_state> PLPs; ///< ascending
};

/// Everything about a stream at one moment. Counters are since the stream is watched.
struct snapshot
{
    static constexpr std::size_t most_notes = 64;

    std::uint64_t time = 0;         ///< nanoseconds since 1970
    std::uint64_t clock = 0;        ///< nanoseconds of the clock that the analysis counts by
    std::uint64_t last_arrival = 0; ///< by the same clock, of the last bytes; 0: nothing yet
    std::string fault;              ///< why nothing can be received; empty: the socket is open
    bool is_rtp = false;
    zq_net::input_figures input;
    delivery_figures delivery;

    bool is_synchronised = false;
    mpegcore::TR101290 checks;

    bool has_PAT = false;
    std::uint16_t transport_stream_id = 0;
    std::vector<mpegcore::Service> services;
    std::vector<table_state> tables;
    std::vector<pid_state> PIDs; ///< ascending
    std::uint64_t packets = 0;
    std::uint64_t null_packets = 0;
    std::uint64_t scrambled_packets = 0;
    double null_share = 0;
    std::optional<t2mi_state> T2MI;

    std::deque<splice_note> splices; ///< the last ones, oldest first
    std::deque<table_note> changes;
};
} // namespace monitor
