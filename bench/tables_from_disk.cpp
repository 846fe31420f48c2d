// SPDX-License-Identifier: LGPL-2.1-or-later
// zq-tables over a recording on disk, beside FFmpeg's demuxer over the same file: seconds, processor seconds and the
// ratio to the demuxer, the best of several rounds. The file lies beside this program and goes when it ends.
//   tables_from_disk [megabytes, 1000 unless given]
#include "MultiplexStream.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr std::size_t megabyte = 1000000;
constexpr unsigned rounds = 3;

/// A recording of 12 programmes, which goes with the object.
class Recording
{
public:
    Recording(std::filesystem::path path, std::size_t size) : m_path(std::move(path))
    {
        const zqtest::Bytes part = zqbench::MultiplexStream(12, 20000).make(100000);
        std::FILE* const file = std::fopen(m_path.c_str(), "wb");
        m_is_whole = file != nullptr;
        for (std::size_t written = 0; m_is_whole && written < size; written += part.size())
            m_is_whole = std::fwrite(part.data(), 1, part.size(), file) == part.size();
        if (file != nullptr)
            m_is_whole = std::fflush(file) == 0 && fsync(fileno(file)) == 0 && std::fclose(file) == 0 && m_is_whole;
    }
    ~Recording() { std::filesystem::remove(m_path); }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    bool is_whole() const { return m_is_whole; }
    const std::filesystem::path& path() const { return m_path; }

    /// So that the next reader gets the bytes from the disk.
    void forget_pages() const
    {
        const int file = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        static_cast<void>(posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED));
        close(file);
    }

private:
    std::filesystem::path m_path;
    bool m_is_whole = false;
};

struct Cost
{
    double seconds = 1e9;
    double processor_seconds = 1e9;
};

double seconds_of(const timeval& time) { return static_cast<double>(time.tv_sec) + 1e-6 * time.tv_usec; }

/// What a process needs that does `work` and nothing else.
Cost cost_of(const std::function<int()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "tables_from_disk: a program failed\n");
        return {};
    }
    const std::chrono::duration<double> lasted = std::chrono::steady_clock::now() - begin;
    return {lasted.count(), seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime)};
}

int run_zq_tables(const std::string& path, const char* option)
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    execl(ZQ_TABLES, "zq-tables", option, "--all", path.c_str(), static_cast<char*>(nullptr));
    return 1;
}

/// With `flags` the demuxer leaves out what goes beyond taking packets apart.
int run_FFmpeg(const std::string& path, int flags)
{
    av_log_set_level(AV_LOG_QUIET);
    AVFormatContext* context = avformat_alloc_context();
    context->flags |= flags;
    if (avformat_open_input(&context, path.c_str(), av_find_input_format("mpegts"), nullptr) < 0)
        return 1;
    AVPacket* const packet = av_packet_alloc();
    std::size_t frames = 0;
    for (; av_read_frame(context, packet) >= 0; ++frames)
        av_packet_unref(packet);
    return frames > 0 ? 0 : 1;
}

struct Row
{
    const char* name;
    std::function<int()> work;
    Cost best;
};

std::vector<Row> rows_of(const std::string& path)
{
    return {{"FFmpeg, no parsing", [path] { return run_FFmpeg(path, AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN); }, {}},
            {"FFmpeg as it comes", [path] { return run_FFmpeg(path, 0); }, {}},
            {"zq-tables --sections --all", [path] { return run_zq_tables(path, "--sections"); }, {}},
            {"zq-tables --json --all", [path] { return run_zq_tables(path, "--json"); }, {}}};
}
} // namespace

int main(int argc, char** argv)
{
    const std::size_t size = (argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000) * megabyte;
    const Recording recording(std::filesystem::read_symlink("/proc/self/exe").replace_filename("tables_from_disk.ts"),
                              size);
    if (!recording.is_whole()) {
        std::fprintf(stderr, "tables_from_disk: cannot write %s\n", recording.path().c_str());
        return 1;
    }
    std::vector<Row> rows = rows_of(recording.path().string());
    for (unsigned round = 0; round < rounds; ++round)
        for (Row& row : rows) {
            recording.forget_pages();
            const Cost cost = cost_of(row.work);
            row.best.seconds = std::min(row.best.seconds, cost.seconds);
            row.best.processor_seconds = std::min(row.best.processor_seconds, cost.processor_seconds);
        }
    const Cost& peer = rows.front().best;
    std::printf("%-28s %9s %9s %12s %12s\n", "", "seconds", "MB/s", "processor s", "of FFmpeg's");
    for (const Row& row : rows)
        std::printf("%-28s %9.2f %9.0f %12.2f %12.2f\n", row.name, row.best.seconds,
                    static_cast<double>(std::filesystem::file_size(recording.path())) / megabyte / row.best.seconds,
                    row.best.processor_seconds, row.best.processor_seconds / peer.processor_seconds);
    return 0;
}
