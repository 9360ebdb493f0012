// The tool runs as root, often in directories that others may write to. Each
// file it makes beside the output, and the index under the home, is planted
// first, with the process id the run will have; the file behind stays as it was.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/run_program.h"

using testing_support::readFile;
using testing_support::writeFile;

namespace {

TEST(PlantedLinks, AreNeverWrittenThrough) {
    enum Plant { Link, HardLink, DanglingLink, StaleFile };
    const std::pair<const char*, Plant> rows[] = {
        {"out/nimbra.conf_to_Be_%d", Link},         {"out/nimbra.conf_to_Be_%d", HardLink},
        {"out/nimbra.conf_to_Be_%d", StaleFile},    {"out/.nimbra.conf.lock", DanglingLink},
        {"home/etc/srv/nimbra.conf.ndx", Link},
    };
    for (const auto& [at, plant] : rows) {
        SCOPED_TRACE(std::string(at) + ", plant " + std::to_string(plant));
        testing_support::TempDir dir;
        std::filesystem::create_directories(dir.file("out"));
        std::filesystem::create_directories(dir.file("home/etc/srv"));
        writeFile(dir.file("in.conf"), R"(<SANConfig><SANBridgeList><SANBridge name="srv" instance="1"/></SANBridgeList></SANConfig>)");
        writeFile(dir.file("victim"), "victim\n");
        const std::string out = dir.file("out/nimbra.conf");
        const auto run = testing_support::runProgram(
            {XLATE45_BIN, dir.file("in.conf"), out, "-q"}, {"NBHOME=" + dir.file("home")}, [&] {
                char name[256];
                std::snprintf(name, sizeof name, at, getpid());
                const std::string path = dir.file(name);
                const std::string behind = dir.file(plant == DanglingLink ? "nowhere" : "victim");
                if (plant == StaleFile) writeFile(path, "stale");
                else if (plant == HardLink) link(behind.c_str(), path.c_str());
                else symlink(behind.c_str(), path.c_str());
            });

        EXPECT_EQ(run.status, 0);
        const std::string lock = dir.file("out/.nimbra.conf.lock");
        EXPECT_EQ(run.err, plant == DanglingLink ? "Can't open lock file " + lock + " - 40\n" : "");  // ELOOP
        EXPECT_EQ(readFile(dir.file("victim")), "victim\n");
        EXPECT_FALSE(std::filesystem::exists(dir.file("nowhere")));
        EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(out)));
        EXPECT_NE(readFile(out).find(R"(instance="2")"), std::string::npos);
    }
}

}  // namespace
