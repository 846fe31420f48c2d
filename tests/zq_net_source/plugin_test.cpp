// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin as a user's program meets it: a file that GStreamer loads.
#include "support/element.h"
#include "support/net_sandbox.h"
#include "support/threads.h"
#include "support/udp_sender.h"
#include "support/watchdog.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace std::chrono_literals;

namespace
{
std::string output_of(const std::string& command)
{
    std::string output;
    FILE* pipe = ::popen(command.c_str(), "r");
    for (int byte = 0; (byte = std::fgetc(pipe)) != EOF;)
        output.push_back(static_cast<char>(byte));
    ::pclose(pipe);
    return output;
}

/// gst-launch-1.0 under traffic, interrupted as a user would. The result is its exit status, or -1 when it hung.
int launch_and_interrupt(std::vector<std::string> arguments, std::uint16_t port)
{
    const support::udp_traffic traffic{port, 500us};
    arguments.insert(arguments.begin(), "gst-launch-1.0");
    const pid_t child = ::fork();
    if (child == 0) {
        std::vector<char*> argv;
        for (auto& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        if (std::freopen("/dev/null", "w", stdout) != nullptr)
            ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    // By then the launcher has its handler for the interrupt; some more for data to flow.
    support::eventually([&] { return support::receive_threads(std::to_string(child)) == 1; }, 60s);
    std::this_thread::sleep_for(500ms);
    ::kill(child, SIGINT);
    int status = 0;
    const bool ended = support::eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; }, 60s);
    if (!ended) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::size_t size_of(const char* path)
{
    std::ifstream file{path, std::ios::binary | std::ios::ate};
    return file ? static_cast<std::size_t>(file.tellg()) : 0;
}
} // namespace

TEST(Plugin, CarriesTheStatedDescription)
{
    GError* error = nullptr;
    GstPlugin* plugin = gst_plugin_load_file(ZQ_PLUGIN, &error);
    ASSERT_NE(plugin, nullptr) << (error != nullptr ? error->message : "");
    EXPECT_STREQ(gst_plugin_get_name(plugin), "zqnetsource");
    EXPECT_STREQ(gst_plugin_get_description(plugin), "Template zqnetsource");
    EXPECT_STREQ(gst_plugin_get_version(plugin), "1.20.1");
    EXPECT_STREQ(gst_plugin_get_license(plugin), "LGPL");
    EXPECT_STREQ(gst_plugin_get_source(plugin), "zqnetsource");
    EXPECT_STREQ(gst_plugin_get_package(plugin), "Gst ZQ Network Source");
    EXPECT_STREQ(gst_plugin_get_origin(plugin), "Quillmark");
    gst_object_unref(plugin);
}

TEST(Plugin, NamesTheGStreamerVersionItWasWrittenFor)
{
    void* const module = ::dlopen(ZQ_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr);
    using describe = const GstPluginDesc* (*)();
    const auto* const description = reinterpret_cast<describe>(::dlsym(module, "gst_plugin_zqnetsource_get_desc"))();
    EXPECT_EQ(description->major_version, 1);
    EXPECT_EQ(description->minor_version, 20);
}

TEST(Plugin, LoadedTwiceRegistersItsTypeOnce)
{
    GstPlugin* const first = gst_plugin_load_file(ZQ_PLUGIN, nullptr);
    const auto type_of_one = [] { return G_OBJECT_TYPE(support::make_source().get()); };
    const GType type = type_of_one();
    GstPlugin* const second = gst_plugin_load_file(ZQ_PLUGIN, nullptr);
    EXPECT_EQ(type_of_one(), type);
    EXPECT_STREQ(g_type_name(type), "GstZqNetSourceType");
    gst_object_unref(first);
    gst_object_unref(second);
}

TEST(Plugin, RegistersStaticallyUnderTheSameName)
{
    void* const module = ::dlopen(ZQ_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr);
    reinterpret_cast<void (*)()>(::dlsym(module, "gst_plugin_zqnetsource_register"))();
    EXPECT_NE(support::make_source(), nullptr);
}

TEST(Plugin, ExportsItsTwoEntryPointsAndNothingElse)
{
    std::istringstream lines{output_of("nm -D --defined-only '" ZQ_PLUGIN "'")};
    std::vector<std::string> names;
    for (std::string address, type, name; lines >> address >> type >> name;)
        names.push_back(name);
    EXPECT_THAT(names,
                testing::UnorderedElementsAre("gst_plugin_zqnetsource_get_desc", "gst_plugin_zqnetsource_register"));
}

TEST(Launcher, EndsAfterAnInterrupt)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    EXPECT_EQ(launch_and_interrupt({"zqnetsource", "port=" + std::to_string(port), "!", "fakesink"}, port), 0);
}

TEST(Launcher, EndsARecordingCleanlyAfterAnInterrupt)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    char path[] = "/tmp/zq-launch-XXXXXX";
    ::close(::mkstemp(path));
    EXPECT_EQ(launch_and_interrupt({"-e", "zqnetsource", "port=" + std::to_string(port), "!", "filesink",
                                    std::string{"location="} + path},
                                   port),
              0);
    EXPECT_GT(size_of(path), 0U);
    EXPECT_EQ(size_of(path) % 1316, 0U);
    ::unlink(path);
}

TEST(Launcher, EndsAfterAnInterruptWithoutAnyTraffic)
{
    const support::watchdog guard;
    const auto port = support::free_port();
    EXPECT_EQ(launch_and_interrupt({"-e", "zqnetsource", "port=" + std::to_string(port), "!", "fakesink"},
                                   support::free_port()),
              0);
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) // the build lists them, without the environment that a run has
        return RUN_ALL_TESTS();
    ::setenv("GST_PLUGIN_PATH", ZQ_PLUGIN_FOLDER, 1);
    char registry[] = "/tmp/zq-registry-XXXXXX";
    ::close(::mkstemp(registry));
    ::setenv("GST_REGISTRY", registry, 1);
    support::enter_net_sandbox();
    gst_init(&argc, &argv);
    const int result = RUN_ALL_TESTS();
    ::unlink(registry);
    return result;
}
