#include "tests/support/log_capture.h"

#include <algorithm>

#include "xml/log.h"

namespace testing_support {

namespace {

std::vector<std::string> gMessages;
std::vector<std::string> gIdentities;

void observe(const char* identity, const char* message) {
    gIdentities.emplace_back(identity);
    gMessages.emplace_back(message);
}

}  // namespace

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

}  // namespace testing_support
