#include "host/test_support.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

#include "host/kxsem.h"
#include "xml/log.h"

namespace host::testing {

namespace {

std::vector<std::string> gMessages;
std::vector<std::string> gIdentities;

void observe(const char* identity, const char* message) {
    gIdentities.emplace_back(identity);
    gMessages.emplace_back(message);
}

// NBHOME must be in place before anything asks for the home, and the home keeps
// the first value it sees: so one temporary home serves the whole binary.
class TemporaryHome : public ::testing::Environment {
public:
    void SetUp() override {
        char pattern[] = "/tmp/host_tests_home.XXXXXX";
        if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp");
        home_ = pattern;
        ::setenv("NBHOME", home_.c_str(), 1);
        ::mkdir((home_ + "/etc").c_str(), 0755);
    }
    void TearDown() override {
        static_cast<void>(kxRemoveAllSem());  // every set a test made is listed there
        std::filesystem::remove_all(home_);
    }

private:
    std::string home_;
};

[[maybe_unused]] ::testing::Environment* const kHome = ::testing::AddGlobalTestEnvironment(new TemporaryHome);

}  // namespace

TempDir::TempDir() {
    char pattern[] = "/tmp/host_tests.XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = pattern;
}

TempDir::~TempDir() { std::filesystem::remove_all(path_); }

LogCapture::LogCapture(int level) : savedLevel_(xml::debugLevel()) {
    xml::debugLevel() = level;
    clear();
    xml::setLogObserver(observe);
}

LogCapture::~LogCapture() {
    xml::setLogObserver(nullptr);
    xml::debugLevel() = savedLevel_;
}

const std::vector<std::string>& LogCapture::messages() const { return gMessages; }
const std::vector<std::string>& LogCapture::identities() const { return gIdentities; }

bool LogCapture::has(const std::string& message) const {
    return std::find(gMessages.begin(), gMessages.end(), message) != gMessages.end();
}

void LogCapture::clear() {
    gMessages.clear();
    gIdentities.clear();
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

}  // namespace host::testing
