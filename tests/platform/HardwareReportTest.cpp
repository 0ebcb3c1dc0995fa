#include <map>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "tests/support/TestSupport.h"
#include "tools/helpers/HardwareReport.h"

namespace tovi::test {
namespace {

constexpr char kFirmware[] = "sys/class/dmi/id/";
constexpr char kCache[] = "sys/devices/system/cpu/cpu0/cache/";

// A made file system root.
class HardwareReport : public testing::Test {
 protected:
  void put(const std::string& directory, const std::map<std::string, std::string>& files) {
    for (const auto& [name, contents] : files) {
      std::filesystem::create_directories((root_ / (directory + name)).parent_path());
      writeFile(root_ / (directory + name), contents + "\n");
    }
  }
  std::string report(const std::string& fallbackUuid = "") const {
    return hardwareReport(root_.path(), fallbackUuid);
  }

 private:
  TemporaryDirectory root_;
};

constexpr char kHeadings[] = "Hardware:\n\n    Hardware Overview:\n\n";

std::string processor(int package, int core) {
  return "processor\t: 0\nmodel name\t: Maker CPU: 5000\ncpu MHz\t\t: 1234.5\nphysical id\t: " +
         std::to_string(package) + "\ncore id\t\t: " + std::to_string(core) + "\n\n";
}

TEST_F(HardwareReport, TellsAllThatTheMachineTells) {
  put(kFirmware, {{"product_family", "Workhorse"},
                  {"product_name", "WH-1  "},
                  {"bios_version", "1.2 (ROM: 7)"},
                  {"product_serial", "S123"},
                  {"product_uuid", "0a1b2c3d-0000-1111-2222-333344445555"}});
  put("proc/", {{"cpuinfo", processor(0, 0) + processor(0, 0) + processor(1, 0) + processor(1, 0)},
                {"meminfo", "MemTotal:       16264152 kB\nMemFree: 1 kB"}});
  put("sys/devices/system/cpu/cpu0/cpufreq/", {{"cpuinfo_max_freq", "2600000"}});
  put(kCache, {{"a/level", "1"}, {"a/size", "32K"}, {"b/level", "2"}, {"b/size", "256K"}});
  put(kCache, {{"c/level", "3"}, {"c/size", "12288K"}});
  EXPECT_EQ(report("unused"), std::string(kHeadings) +
                                  "      Model Name: Workhorse\n"
                                  "      Model Identifier: WH-1\n"
                                  "      Processor Name: Maker CPU: 5000\n"
                                  "      Processor Speed: 2.60 GHz\n"
                                  "      Number of Processors: 2\n"
                                  "      Total Number of Cores: 2\n"
                                  "      L2 Cache (per Core): 256 KB\n"
                                  "      L3 Cache: 12 MB\n"
                                  "      Hyper-Threading Technology: Enabled\n"
                                  "      Memory: 16 GB\n"
                                  "      Boot ROM Version: 1.2 (ROM: 7)\n"
                                  "      Serial Number (system): S123\n"
                                  "      Hardware UUID: 0A1B2C3D-0000-1111-2222-333344445555\n");
}

TEST_F(HardwareReport, MachineThatTellsNothingHasHeadingsOnly) {
  EXPECT_EQ(report(), kHeadings);
}

TEST_F(HardwareReport, PlaceholdersAreLeftOut) {
  put(kFirmware, {{"product_family", "To Be Filled By O.E.M."},
                  {"product_name", "Default string"},
                  {"bios_version", "None"},
                  {"product_serial", "0000000"},
                  {"product_uuid", "ffffffff-ffff-ffff-ffff-ffffffffffff"}});
  EXPECT_EQ(report("aa-bb"), std::string(kHeadings) + "      Hardware UUID: AA-BB\n");
}

TEST_F(HardwareReport, ControlCharactersCannotForgeALine) {
  put(kFirmware, {{"product_name", "A\r\x1B[2JB"}});
  EXPECT_NE(report().find("      Model Name: A[2JB\n"), std::string::npos);
}

TEST(Directory, PrintsTheRealNameOfAnAccount) {
  const auto realName = [](const std::string& user) {
    return platform::runProgram(TOVI_DIRECTORY, {".", "-read", "/Users/" + user, "RealName"});
  };
  EXPECT_EQ(realName("root"), "RealName:\n root\n");
  EXPECT_EQ(realName("no-such-account"), "");
}

}  // namespace
}  // namespace tovi::test
