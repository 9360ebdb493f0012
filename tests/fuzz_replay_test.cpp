// Every input that ever made a fuzz target fail, and the seed corpora, replayed
// through the fuzz targets' own entry points on every test run.
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>

#include "fuzz/entries.h"
#include "tests/support/run_program.h"

namespace {

namespace fs = std::filesystem;

using Entry = std::function<void(const std::uint8_t*, std::size_t)>;

const std::map<std::string, Entry> kTargets = {
    {"convert40", fuzz::convert40},
    {"lexer", fuzz::lexAll},
    {"read45", fuzz::read45AndWrite},
    {"report", fuzz::reportUpgrade},
    {"repository_conf", fuzz::readRepositoryDescription},
};

// Replays fuzz/<kind>/<target>/*; the number of inputs replayed.
int replay(const std::string& kind) {
    int count = 0;
    for (const auto& [target, entry] : kTargets) {
        const fs::path dir = fs::path(XLATE45_SOURCE_DIR) / "fuzz" / kind / target;
        if (!fs::is_directory(dir)) continue;
        for (const fs::directory_entry& file : fs::directory_iterator(dir)) {
            if (!file.is_regular_file() || file.path().filename().string().starts_with(".")) continue;
            SCOPED_TRACE(file.path().string());
            const std::string bytes = testing_support::readFile(file.path().string());
            entry(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    return count;
}

TEST(FuzzReplay, Regressions) { replay("regressions"); }

TEST(FuzzReplay, SeedCorpora) { EXPECT_GT(replay("corpus"), 0) << "the seeds are where the fuzz run starts"; }

}  // namespace
