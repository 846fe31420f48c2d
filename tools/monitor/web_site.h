// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once
#include "tools/monitor/http_server.h"
#include "tools/monitor/metrics.h"
#include "tools/monitor/survey.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace monitor
{
/// The page, the API and the metrics, out of the last survey. For any number of threads.
class web_site
{
public:
    explicit web_site(process_facts process) : m_process(std::move(process)) {}

    /// From now on this is what is shown.
    void publish(std::shared_ptr<const survey> all);
    /// Ends all live answers.
    void end();

    /// `path` without a query and decoded.
    [[nodiscard]] http_answer answer(const std::string& path);

private:
    using text = std::shared_ptr<const std::string>;

    struct state
    {
        std::shared_ptr<const survey> all;
        std::uint64_t serial = 0;
    };

    [[nodiscard]] state now() const;
    /// Waits for another survey than that of `serial`; null when there will be none.
    [[nodiscard]] std::shared_ptr<const survey> wait_for_next(std::uint64_t& serial) const;
    /// What `make` gives for the survey, made once however many ask for it.
    template <class Make>
    [[nodiscard]] text made_once(const std::string& what, const std::shared_ptr<const survey>& of, Make make);

    [[nodiscard]] http_answer answer_api(const std::string& path, const std::shared_ptr<const survey>& all);
    [[nodiscard]] http_answer answer_live(const std::string& path, const state& seen);
    [[nodiscard]] http_answer answer_health(bool wants_all) const;

    process_facts m_process;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    state m_state;
    bool m_ended = false;

    std::mutex m_made_mutex;
    std::shared_ptr<const survey> m_made_of;
    std::map<std::string, text> m_made;
};
} // namespace monitor
