// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "mpegcore/PMT.h"
#include "mpegcore/SDT.h"
#include "mpegcore/TablePrinter.h"
#include "tools/tables/rate_meter.h"
#include "tools/tables/section_listener.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tables
{
/// The programmes of a stream by its PAT, PMTs and SDT.
class service_list
{
public:
    /// Takes what the section says about services; others are passed over.
    void put(const heard_section& section);

    /// A line for each service, by service_id, and one for each of its streams. Rates are those of their packets.
    [[nodiscard]] std::vector<std::string> readable(const rate_meter& rates,
                                                    const mpegcore::PrintOptions& options) const;
    /// An object of JSON for each service, in a line of its own.
    [[nodiscard]] std::vector<std::string> json_lines(const rate_meter& rates,
                                                      const mpegcore::PrintOptions& options) const;

private:
    struct elementary_stream
    {
        std::uint8_t stream_type;
        std::uint16_t elementary_PID;
        std::string name; ///< what it carries
        std::string language;
    };
    struct service_entry
    {
        std::optional<std::uint16_t> PMT_PID; ///< by the PAT
        bool has_PMT = false;
        std::uint16_t PCR_PID = 0;
        std::vector<elementary_stream> streams;
        bool is_described = false; ///< by the SDT
        std::uint8_t running_status = 0;
        std::uint8_t free_CA_mode = 0;
        std::uint8_t service_type = 0;
        std::vector<unsigned char> service_name;
        std::vector<unsigned char> service_provider_name;
    };

    void put_PAT(const heard_section& section);
    void put_PMT(const mpegcore::CPMT& pmt);
    void put_SDT(const mpegcore::CSDT& sdt);
    [[nodiscard]] static std::optional<double> bitrate(const service_entry& one, const rate_meter& rates);
    [[nodiscard]] static std::string json_line(std::uint16_t service_id, const service_entry& one,
                                               const rate_meter& rates, const mpegcore::PrintOptions& options);
    [[nodiscard]] static std::string title(std::uint16_t service_id, const service_entry& one, const rate_meter& rates,
                                           const mpegcore::PrintOptions& options);

    std::map<std::uint16_t, service_entry> m_services; ///< by service_id, which is the program_number
    int m_PAT_version = -1;
};
} // namespace tables
