#include "tools/standins/Interfaces.h"
#include "tools/standins/PermanentAddresses.h"
#include "tools/standins/Processor.h"

#include <gtest/gtest.h>

#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/utsname.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

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

TEST(Interfaces, ComeByTheirPlaceInTheMachineBuiltInOnesFirst) {
    using standins::Place;
    const auto made = [](const char* name, const char* address, Place place, const char* device) {
        standins::Interface interface;
        interface.name = name;
        interface.mtu = "1500";
        interface.address = "02:00:00:00:00:01";
        interface.permanentAddress = address;
        interface.place = place;
        interface.device = device;
        return interface;
    };
    std::vector<standins::Interface> interfaces{
        made("docker0", "", Place::kNowhere, ""),
        made("dock", "a4:83:e7:00:00:03", Place::kRemovable, "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-2"),
        made("wlan0", "a4:83:e7:00:00:02", Place::kBuiltIn, "/sys/devices/pci0000:00/0000:00:1f.6"),
        made("eth0", "a4:83:e7:00:00:01", Place::kBuiltIn, "/sys/devices/pci0000:00/0000:00:03.0")};
    standins::sortByPlace(interfaces);
    EXPECT_EQ(standins::listing(interfaces), "eth0: flags=0<> mtu 1500\n\tether a4:83:e7:00:00:01\n"
                                             "wlan0: flags=0<> mtu 1500\n\tether a4:83:e7:00:00:02\n"
                                             "dock: flags=0<> mtu 1500\n\tether a4:83:e7:00:00:03\n"
                                             "docker0: flags=0<> mtu 1500\n");
}

TEST_F(InterfaceLister, TakesWhatTheFirmwareCallsRemovableOrIsOnUsbForThat) {
    const std::vector<std::tuple<std::string, std::string, standins::Place>> devices{
        {"pci0000:00/0000:00:03.0", "", standins::Place::kBuiltIn},
        {"pci0000:00/0000:00:14.0/usb1/1-2", "", standins::Place::kRemovable},
        {"pci0000:00/0000:00:14.0/usb1/1-3", "fixed\n", standins::Place::kBuiltIn},
        {"pci0000:00/0000:00:1d.0", "removable\n", standins::Place::kRemovable}};
    int index = 1;
    for (const auto& [device, removable, place] : devices) {
        const std::string name = "net" + std::to_string(index);
        put("/sys/devices/" + device + "/removable", removable);
        putInterface(name, index++, "a4:83:e7:12:34:56", "0");
        fs::create_directory_symlink(root_ / "sys/devices" / device, root_ / "sys/class/net" / name / "device");
    }
    const auto interfaces = standins::readInterfaces(root_ / "sys/class/net");
    ASSERT_EQ(interfaces.size(), devices.size());
    for (std::size_t at = 0; at < devices.size(); ++at) {
        EXPECT_EQ(interfaces.at(at).place, std::get<2>(devices.at(at))) << std::get<0>(devices.at(at));
    }
}

namespace {

// As the kernel sends it, on this machine's byte order.
std::string linkMessage(int index, unsigned short type, const std::string& value) {
    const auto raw = [](const auto& part) { return std::string(reinterpret_cast<const char*>(&part), sizeof(part)); };
    const rtattr attribute{static_cast<unsigned short>(sizeof(rtattr) + value.size()), type};
    std::string attributes = raw(attribute) + value;
    attributes.resize((attributes.size() + 3) / 4 * 4);
    ifinfomsg link{};
    link.ifi_index = index;
    nlmsghdr head{};
    head.nlmsg_len = static_cast<unsigned>(sizeof(head) + sizeof(link) + attributes.size());
    head.nlmsg_type = RTM_NEWLINK;
    return raw(head) + raw(link) + attributes;
}

} // namespace

TEST(PermanentAddresses, AreReadFromTheKernelsAnswer) {
    const std::string answer = linkMessage(2, IFLA_PERM_ADDRESS, "\xa4\x83\xe7\x01\x02\x03") +
                               linkMessage(3, IFLA_ADDRESS, "\xa4\x83\xe7\x01\x02\x04") +
                               linkMessage(4, IFLA_PERM_ADDRESS, std::string(6, '\0')) +
                               linkMessage(5, IFLA_PERM_ADDRESS, std::string(20, 'x'));
    std::map<long, std::string> found;
    EXPECT_TRUE(standins::readLinks(answer, found));
    EXPECT_EQ(found, (std::map<long, std::string>{{2, "a4:83:e7:01:02:03"}}));
    for (std::size_t length = 0; length < answer.size(); ++length) {
        std::map<long, std::string> some;
        standins::readLinks(std::string_view(answer).substr(0, length), some);
        EXPECT_LE(some.size(), 1U);
    }
    EXPECT_FALSE(standins::readLinks(std::string(64, '\xff'), found));
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
