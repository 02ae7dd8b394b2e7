#include "tools/standins/Interfaces.h"
#include "tools/standins/Processor.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Answer {
    std::string output;
    int status = -1;
};

// Standard error is left out.
Answer run(const std::string& command) {
    Answer answer;
    FILE* const pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        answer.output.append(buffer.data(), count);
    }
    const int status = ::pclose(pipe);
    answer.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return answer;
}

std::string errorOutputOf(const std::string& command) {
    return run(command + " 2>&1 >/dev/null; false").output;
}

const std::string kIfconfig = IFCONFIG;
const std::string kProfiler = SYSTEM_PROFILER;

// A system root of the case's own, which the tools see through QN_SYSTEM_ROOT.
class StandIns : public testing::Test {
protected:
    StandIns() {
        std::string pattern = (fs::temp_directory_path() / "standins-XXXXXX").string();
        root_ = ::mkdtemp(pattern.data());
        ::setenv("QN_SYSTEM_ROOT", root_.c_str(), 1);
    }
    ~StandIns() override { fs::remove_all(root_); }
    StandIns(const StandIns&) = delete;
    StandIns& operator=(const StandIns&) = delete;

    void put(const std::string& path, const std::string& contents) const {
        const fs::path file = root_.string() + path;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << contents;
    }

    void putInterface(const std::string& name, int index, const std::string& address,
                      const std::string& assignment) const {
        const std::string folder = "/sys/class/net/" + name + "/";
        put(folder + "ifindex", std::to_string(index) + "\n");
        put(folder + "flags", "0x1003\n");
        put(folder + "mtu", "1500\n");
        put(folder + "address", address + "\n");
        put(folder + "addr_assign_type", assignment + "\n");
    }

    fs::path root_;
};
using InterfaceLister = StandIns;
using SystemProfiler = StandIns;

const std::string kHead = "flags=1003<UP,BROADCAST,MULTICAST> mtu 1500\n";

} // namespace

TEST_F(InterfaceLister, ShowsInterfacesByTheirNumbersWithPermanentAddressesOnly) {
    putInterface("wlan0", 3, "A4:83:e7:12:34:56", "0");
    putInterface("virbr0", 2, "52:54:00:aa:bb:cc", "3");
    putInterface("eth0", 10, "a4:83:e7:00:00:01", "0");
    EXPECT_EQ(run(kIfconfig + " -a").output, "virbr0: " + kHead + "wlan0: " + kHead + "\tether A4:83:e7:12:34:56\n" +
                                                 "eth0: " + kHead + "\tether a4:83:e7:00:00:01\n");
}

TEST_F(InterfaceLister, ShowsAllAddressesWhenNoneIsPermanent) {
    putInterface("eth0", 2, "52:54:00:aa:bb:cc", "1");
    putInterface("eth1", 3, "52:54:00:aa:bb:cd", "3");
    EXPECT_EQ(run(kIfconfig + " -a").output,
              "eth0: " + kHead + "\tether 52:54:00:aa:bb:cc\neth1: " + kHead + "\tether 52:54:00:aa:bb:cd\n");
}

TEST_F(InterfaceLister, DoesNotTakeTheLoopbacksZerosForAPermanentAddress) {
    putInterface("lo", 1, "00:00:00:00:00:00", "0");
    putInterface("eth0", 2, "52:54:00:aa:bb:cc", "3");
    EXPECT_EQ(run(kIfconfig + " -a").output, "lo: " + kHead + "eth0: " + kHead + "\tether 52:54:00:aa:bb:cc\n");
}

TEST_F(InterfaceLister, ShowsNoAddressThatIsNotSixPairs) {
    putInterface("ib0", 2, "80:00:00:48:fe:80:00:00:00:00:00:00:00:02:c9:03:00:1a:2b:3c", "0");
    putInterface("tun0", 3, "", "0");
    putInterface("x0", 4, "a4-83-e7-12-34-56", "0");
    putInterface("x1", 5, "a4:83:e7:12:34:5g", "0");
    EXPECT_EQ(run(kIfconfig + " -a").output, "ib0: " + kHead + "tun0: " + kHead + "x0: " + kHead + "x1: " + kHead);
}

TEST_F(InterfaceLister, PassesOverPlainFilesAmongTheInterfaces) {
    putInterface("eth0", 2, "a4:83:e7:12:34:56", "0");
    put("/sys/class/net/bonding_masters", "\n");
    EXPECT_EQ(run(kIfconfig + " -a").output, "eth0: " + kHead + "\tether a4:83:e7:12:34:56\n");
}

TEST_F(InterfaceLister, ListsTheInterfacesOfThisMachineWithoutASystemRoot) {
    ::unsetenv("QN_SYSTEM_ROOT");
    const Answer answer = run(kIfconfig + " -a");
    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.output.find("lo: flags="), std::string::npos) << answer.output;
}

TEST_F(InterfaceLister, RefusesOtherArgumentsWithAMessage) {
    for (const char* const arguments : {"", " eth0", " -a -v", " up"}) {
        const Answer answer = run(kIfconfig + arguments);
        EXPECT_EQ(answer.status, 1) << arguments;
        EXPECT_EQ(answer.output, "") << arguments;
        EXPECT_NE(errorOutputOf(kIfconfig + arguments).find("usage: ifconfig -a"), std::string::npos) << arguments;
    }
}

TEST_F(SystemProfiler, ShowsTheModelNameInTheShapeOfTheReport) {
    put("/proc/cpuinfo", "processor\t: 0\nvendor_id\t: X\nmodel\t\t: 1\nmodel name\t: Some CPU @ 2.0: GHz \n"
                         "processor\t: 1\nmodel name\t: Other\n");
    const Answer answer = run(kProfiler + " SPHardwareDataType");
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.output, "Hardware:\n\n    Hardware Overview:\n\n      Processor Name: Some CPU @ 2.0: GHz\n\n");
}

TEST_F(SystemProfiler, ShowsTheHardwareWithoutAModelNameAndTheMachineWithoutEither) {
    put("/proc/cpuinfo", "model name\t:\nHardware\t: BCM2711\n");
    EXPECT_NE(run(kProfiler + " SPHardwareDataType").output.find("Processor Name: BCM2711\n"), std::string::npos);
    put("/proc/cpuinfo", "");
    utsname names{};
    ASSERT_EQ(::uname(&names), 0);
    EXPECT_NE(
        run(kProfiler + " SPHardwareDataType").output.find("Processor Name: " + std::string(names.machine) + "\n"),
        std::string::npos);
}

TEST_F(SystemProfiler, RefusesOtherArgumentsWithAMessage) {
    for (const char* const arguments : {"", " SPUSBDataType", " SPHardwareDataType -xml", " sphardwaredatatype"}) {
        const Answer answer = run(kProfiler + arguments);
        EXPECT_EQ(answer.status, 1) << arguments;
        EXPECT_EQ(answer.output, "") << arguments;
        EXPECT_NE(errorOutputOf(kProfiler + arguments).find("usage: system_profiler SPHardwareDataType"),
                  std::string::npos)
            << arguments;
    }
}

TEST_F(SystemProfiler, SurvivesAnyBytes) {
    put("/proc/cpuinfo", std::string("\0:\xFF\n:\n::::\nmodel name", 20));
    EXPECT_EQ(run(kProfiler + " SPHardwareDataType").status, 0);
    EXPECT_EQ(standins::processorNameIn(std::string(100000, ':')), std::nullopt);
}

// The probes at start must not delay the window: on an idle machine each takes about 2 ms, twenty take well below this.
TEST_F(StandIns, AnswerWithinMilliseconds) {
    ::unsetenv("QN_SYSTEM_ROOT");
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < 10; ++count) {
        run(kIfconfig + " -a");
        run(kProfiler + " SPHardwareDataType");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
