// The installed tree: cmake --install into a temporary prefix puts the
// library with its SONAME links, the header, dvlogics.pc, the CMake package,
// dvcli and (as a separate component) the simulator; the example till
// builds against it through pkg-config and through find_package, and runs.
#include "process.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace dvtest;

namespace {

const std::string kVersion = DVTEST_VERSION;
const std::string kSoVersion = DVTEST_SOVERSION;

std::string linkTarget(const std::string& path)
{
    char buffer[PATH_MAX];
    const ssize_t n = readlink(path.c_str(), buffer, sizeof buffer - 1);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

bool isRegularFile(const std::string& path)
{
    struct stat st;
    return lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

class Installed : public ::testing::Test {
protected:
    // Installs the build (one component, or all) into the prefix.
    void install(const std::string& component = "")
    {
        std::vector<std::string> args = {DVTEST_CMAKE, "--install", DVTEST_BUILD_DIR, "--prefix", prefix.path()};
        if (!component.empty()) {
            args.push_back("--component");
            args.push_back(component);
        }
        const RunResult r = runProgram(args);
        ASSERT_EQ(r.status, 0) << r.all();
    }
    std::string at(const std::string& dir, const std::string& name) const
    {
        return prefix.path() + "/" + dir + "/" + name;
    }
    std::string lib(const std::string& name) const { return at(DVTEST_LIBDIR, name); }
    std::string simulator() const { return lib("dvlogics/sim/liblinkora.so.1"); }
    RunResult shell(const std::string& command, std::vector<std::pair<std::string, std::string>> env = {})
    {
        RunOptions options;
        options.env = std::move(env);
        options.env.push_back({"PKG_CONFIG_PATH", lib("pkgconfig")});
        options.cwd = work.path();
        return runProgram({"/bin/sh", "-c", command}, options);
    }

    TempDir prefix, work, logs;
};

} // namespace

TEST_F(Installed, LayoutHasTheLibraryItsLinksHeadersPackageFilesAndTools)
{
    install();
    const std::string real = "libdvlogics.so." + kVersion;
    EXPECT_TRUE(isRegularFile(lib(real)));
    EXPECT_EQ(linkTarget(lib("libdvlogics.so." + kSoVersion)), real);
    EXPECT_EQ(linkTarget(lib("libdvlogics.so")), "libdvlogics.so." + kSoVersion);
    EXPECT_TRUE(fileExists(at(DVTEST_INCLUDEDIR, "dvlogics.h")));
    EXPECT_TRUE(fileExists(lib("pkgconfig/dvlogics.pc")));
    EXPECT_TRUE(fileExists(lib("cmake/dvlogics/dvlogicsConfig.cmake")));
    EXPECT_TRUE(fileExists(lib("cmake/dvlogics/dvlogicsConfigVersion.cmake")));
    EXPECT_TRUE(fileExists(at(DVTEST_BINDIR, "dvcli")));
    EXPECT_TRUE(fileExists(at(DVTEST_DATADIR, "dvlogics/scripts/sale.dvs")));
    // The simulator: in its own directory, never beside the library where
    // it would be found instead of a real device's library.
    EXPECT_TRUE(isRegularFile(simulator()));
    EXPECT_FALSE(fileExists(lib("liblinkora.so.1")));
    EXPECT_TRUE(fileExists(at(DVTEST_INCLUDEDIR, "dvsim.h")));
    EXPECT_TRUE(fileExists(at(DVTEST_BINDIR, "dvsim")));

    const RunResult version = shell(std::string(DVTEST_PKG_CONFIG) + " --modversion dvlogics");
    EXPECT_EQ(version.out, kVersion + "\n") << version.all();
    const RunResult so = shell("readelf -d " + lib(real) + " | grep SONAME");
    EXPECT_NE(so.out.find("[libdvlogics.so." + kSoVersion + "]"), std::string::npos) << so.all();
}

TEST_F(Installed, ComponentsInstallSeparately)
{
    install("lib");
    EXPECT_TRUE(fileExists(lib("libdvlogics.so." + kSoVersion)));
    EXPECT_FALSE(fileExists(lib("libdvlogics.so")));
    EXPECT_FALSE(fileExists(at(DVTEST_INCLUDEDIR, "dvlogics.h")));
    EXPECT_FALSE(fileExists(simulator()));
    EXPECT_FALSE(fileExists(at(DVTEST_BINDIR, "dvcli")));

    install("sim");
    EXPECT_TRUE(fileExists(simulator()));
    EXPECT_TRUE(fileExists(at(DVTEST_BINDIR, "dvsim")));
    EXPECT_FALSE(fileExists(at(DVTEST_INCLUDEDIR, "dvlogics.h")));
}

TEST_F(Installed, ExampleBuildsThroughPkgConfigAndSellsAgainstTheInstalledSimulator)
{
    if (std::string(DVTEST_PKG_CONFIG).empty())
        GTEST_SKIP() << "no pkg-config";
    install();
    const RunResult build = shell(std::string(DVTEST_C_COMPILER) + " -std=c99 -Wall -Wextra -Werror " +
                                  DVTEST_EXAMPLES_DIR + "/sale.c $(" + DVTEST_PKG_CONFIG +
                                  " --cflags --libs dvlogics) -pthread -o sale");
    ASSERT_EQ(build.status, 0) << build.all();

    // The till runs against the installed simulator (found on the library
    // path); the test is the customer, through the simulator's socket.
    const std::string socket = work.file("dv.sock");
    RunResult till;
    std::thread running([&] {
        RunOptions options;
        options.env = {{"LD_LIBRARY_PATH", lib("") + ":" + lib("dvlogics/sim")},
                       {"DVSIM_SOCKET", socket},
                       {"DVLOGS", logs.path()}};
        options.cwd = work.path();
        options.timeoutMs = 30000;
        till = runProgram({work.file("sale"), "1250"}, options);
    });
    // The customer pays once the till has enabled pay-in (its API log says
    // so): cash that comes in while the till is still enabling pay-in makes
    // the device answer busy, as a real one would.
    auto payinEnabled = [&] {
        const RunResult grep = shell("cat '" + logs.path() + "'/dvapi_*.log 2>/dev/null | grep -q 'enablePayinDV: Ok!'");
        return grep.status == 0;
    };
    for (int i = 0; i < 600 && !payinEnabled(); ++i)
        usleep(50000);
    bool paid = false;
    RunResult customer;
    for (int i = 0; i < 200 && !paid; ++i) {
        customer = runProgram({at(DVTEST_BINDIR, "dvsim"), "-s", socket, "insert", "2000"});
        paid = customer.status == 0;
        if (!paid)
            usleep(50000);
    }
    running.join();
    EXPECT_TRUE(paid) << customer.all();
    EXPECT_EQ(till.status, 0) << till.all();
    EXPECT_NE(till.out.find("sale 12.50, paid 20.00, change 7.50"), std::string::npos) << till.out;
    EXPECT_NE(till.out.find("exitDV            0  Done"), std::string::npos) << till.out;
}

TEST_F(Installed, ExampleBuildsThroughTheCMakePackage)
{
    install();
    RunOptions options;
    options.cwd = work.path();
    RunResult r = runProgram({DVTEST_CMAKE, "-S", DVTEST_EXAMPLES_DIR, "-B", work.file("build"),
                              "-DCMAKE_PREFIX_PATH=" + prefix.path(), std::string("-DCMAKE_C_COMPILER=") +
                              DVTEST_C_COMPILER},
                             options);
    ASSERT_EQ(r.status, 0) << r.all();
    r = runProgram({DVTEST_CMAKE, "--build", work.file("build")}, options);
    ASSERT_EQ(r.status, 0) << r.all();
    EXPECT_TRUE(fileExists(work.file("build/sale")));

    // The simulator component is there too: find_package offers it.
    ASSERT_EQ(mkdir(work.file("probe").c_str(), 0700), 0);
    writeFile(work.file("probe/CMakeLists.txt"),
              "cmake_minimum_required(VERSION 3.25)\nproject(probe LANGUAGES NONE)\n"
              "find_package(dvlogics 2 REQUIRED COMPONENTS simulator)\n"
              "get_target_property(l dvlogics::simulator IMPORTED_LOCATION)\nmessage(STATUS \"simulator=${l}\")\n");
    r = runProgram({DVTEST_CMAKE, "-S", work.file("probe"), "-B", work.file("probe/build"),
                    "-DCMAKE_PREFIX_PATH=" + prefix.path()},
                   options);
    ASSERT_EQ(r.status, 0) << r.all();
    EXPECT_NE(r.out.find("simulator=" + simulator()), std::string::npos) << r.out;
}

TEST_F(Installed, InstalledDvcliFindsTheLibraryAndTheSimulatorBesideIt)
{
    install();
    RunOptions options;
    options.env = {{"DVLOGS", logs.path()}, {"LD_LIBRARY_PATH", ""}};
    options.cwd = work.path();
    const RunResult r =
        runProgram({at(DVTEST_BINDIR, "dvcli"), "run", at(DVTEST_DATADIR, "dvlogics/scripts/sale.dvs")}, options);
    EXPECT_EQ(r.status, 0) << r.all();
    EXPECT_NE(r.out.find("passed"), std::string::npos);
    const RunResult demo = runProgram({at(DVTEST_BINDIR, "dvcli"), "demo"}, options);
    EXPECT_EQ(demo.status, 0) << demo.all();
    char real[PATH_MAX];
    ASSERT_NE(realpath(simulator().c_str(), real), nullptr);
    EXPECT_NE(demo.out.find("  device     " + std::string(real) + "\n"), std::string::npos) << demo.out;
}
