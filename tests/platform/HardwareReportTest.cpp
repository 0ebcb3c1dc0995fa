#include <map>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/linux/helpers/HardwareReport.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

const std::string kHeadings = "Hardware:\n\n    Hardware Overview:\n\n";

// A made file system root.
class HardwareReport : public testing::Test {
 protected:
  void put(const std::string& directory, const std::map<std::string, std::string>& files) {
    for (const auto& [name, contents] : files) {
      std::filesystem::create_directories((root_ / (directory + name)).parent_path());
      writeFile(root_ / (directory + name), contents + "\n");
    }
  }

  TemporaryDirectory root_;
};

std::string processor(int package, int core) {
  return "processor\t: 0\nmodel name\t: Maker CPU: 5000\ncpu MHz\t\t: 1234.5\nphysical id\t: " +
         std::to_string(package) + "\ncore id\t\t: " + std::to_string(core) + "\n\n";
}

TEST_F(HardwareReport, TellsAllThatTheMachineTells) {
  put("sys/class/dmi/id/", {{"product_family", "Workhorse"},
                            {"product_name", "WH\r\x1B-1  "},
                            {"bios_version", "1.2 (ROM: 7)"},
                            {"product_serial", "S123"},
                            {"product_uuid", "0a1b2c3d-0000-1111-2222-333344445555"}});
  put("proc/", {{"cpuinfo", processor(0, 0) + processor(0, 0) + processor(1, 0) + processor(1, 0)},
                {"meminfo", "MemTotal:       16264152 kB\nMemFree: 1 kB"}});
  put("sys/devices/system/cpu/cpu0/", {{"cpufreq/cpuinfo_max_freq", "2600000"},
                                       {"cache/a/level", "1"},
                                       {"cache/a/size", "32K"},
                                       {"cache/b/level", "2"},
                                       {"cache/b/size", "256K"}});
  put("sys/devices/system/cpu/cpu0/cache/c/", {{"level", "3"}, {"size", "12288K"}});
  EXPECT_EQ(hardwareReport(root_.path(), "unused"), kHeadings + R"(      Model Name: Workhorse
      Model Identifier: WH-1
      Processor Name: Maker CPU: 5000
      Processor Speed: 2.60 GHz
      Number of Processors: 2
      Total Number of Cores: 2
      L2 Cache (per Core): 256 KB
      L3 Cache: 12 MB
      Hyper-Threading Technology: Enabled
      Memory: 16 GB
      Boot ROM Version: 1.2 (ROM: 7)
      Serial Number (system): S123
      Hardware UUID: 0A1B2C3D-0000-1111-2222-333344445555
)");
}

TEST_F(HardwareReport, PlaceholdersAndWhatIsMissingAreLeftOut) {
  put("sys/class/dmi/id/", {{"product_family", "To Be Filled By O.E.M."},
                            {"product_serial", "0000000"},
                            {"product_uuid", "ffffffff-ffff-ffff-ffff-ffffffffffff"}});
  EXPECT_EQ(hardwareReport(root_.path(), ""), kHeadings);
  EXPECT_EQ(hardwareReport(root_.path(), "aa-bb"), kHeadings + "      Hardware UUID: AA-BB\n");
}

TEST_F(HardwareReport, BytesThatAreNotAsciiAreReplacedAlone) {
  put("sys/class/dmi/id/", {{"product_name", "Caf\xE9 \xC2\xAE 1"}});
  EXPECT_EQ(hardwareReport(root_.path(), ""), kHeadings + R"(      Model Name: Caf? ?? 1
      Model Identifier: Caf? ?? 1
)");
}

TEST_F(HardwareReport, ProcessorsOfArmAreNamedAndCounted) {
  const auto cpuinfo = [](const std::string& part) {
    std::string text;
    for (const char* number : {"0", "1", "2"}) {
      text += "processor\t: " + std::string(number) +
              "\nBogoMIPS\t: 108.00\nCPU implementer\t: 0x41\nCPU part\t: " + part + "\n\n";
    }
    return text;
  };
  put("proc/",
      {{"cpuinfo", cpuinfo("0xd08")}, {"device-tree/model", "Board 4 B" + std::string(1, 0)}});
  for (const std::string number : {"0", "1", "2"}) {
    put("sys/devices/system/cpu/cpu" + number + "/topology/",
        {{"physical_package_id", number == "2" ? "1" : "0"}, {"core_id", number}});
  }
  EXPECT_EQ(hardwareReport(root_.path(), ""), kHeadings + R"(      Model Name: Board 4 B
      Processor Name: ARM Cortex-A72
      Number of Processors: 2
      Total Number of Cores: 3
      Hyper-Threading Technology: Disabled
)");
  put("proc/", {{"cpuinfo", cpuinfo("0xfff")}});
  EXPECT_NE(hardwareReport(root_.path(), "").find("ARM implementer 0x41 part 0xfff\n"),
            std::string::npos);
}

TEST(Directory, PrintsTheRealNameOfAnAccount) {
  EXPECT_EQ(platform::runProgram(TOVI_DIRECTORY, {".", "-read", "/Users/root", "RealName"}),
            "RealName:\n root\n");
}

}  // namespace
}  // namespace tovi::test
