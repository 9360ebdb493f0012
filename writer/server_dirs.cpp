#include "writer/server_dirs.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "model/lookup.h"
#include "model/sanparse.h"
#include "xml/attr_readers.h"
#include "xml/home.h"

namespace writer {

using namespace model;

namespace {

constexpr const char* kEtc = "etc";
constexpr int kLineBuffer = 1024;      // the terminator included, as fgets counts
constexpr std::int32_t kBlock = 10000;  // device numbers per server block

// First offsets of the ranges a server block owns, in the order they are tested.
constexpr std::int32_t kRangeStarts[] = {0, 1000000, 2000000, 3000000, 9000000, 5000000};

std::unique_ptr<SANBridge> readDocument(const std::string& path) noexcept { return readBridge45(path.c_str()); }

// The first line of `path` as fgets gives it into a 1024-byte buffer, cut at
// its first NUL as the C string it becomes; nothing when the file cannot be read.
std::optional<std::string> firstLine(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr) return std::nullopt;
    char line[kLineBuffer];
    const bool read = std::fgets(line, sizeof line, file) != nullptr;
    std::fclose(file);
    if (!read) return std::nullopt;
    return std::string(line);
}

constexpr bool isCSpace(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

// sscanf "%d" on the 32-bit platform: nothing when no digit follows the blanks
// and sign; otherwise the value, saturated as the C library's strtol saturates.
std::optional<std::int32_t> scanInt32(const std::string& text) {
    const char* p = text.c_str();
    while (isCSpace(*p)) ++p;
    if (*p == '+' || *p == '-') ++p;
    if (*p < '0' || *p > '9') return std::nullopt;
    return xml::strtol32(text.c_str(), 10);
}

// sscanf "%s": the first blank-delimited word, nothing when there is none.
std::optional<std::string> scanWord(const std::string& text) {
    std::size_t begin = 0;
    while (begin < text.size() && isCSpace(text[begin])) ++begin;
    std::size_t end = begin;
    while (end < text.size() && !isCSpace(text[end])) ++end;
    if (end == begin) return std::nullopt;
    return text.substr(begin, end - begin);
}

// 32-bit two's-complement addition, as the target computes the range bounds.
constexpr std::int32_t add32(std::int32_t a, std::int32_t b) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

bool indexOwns(std::int32_t next, std::int32_t device) noexcept {
    // Division truncates toward zero, so an index of 0 still gives block 0.
    const std::int32_t base = add32(next, -1) / kBlock * kBlock;
    for (const std::int32_t start : kRangeStarts) {
        const std::int32_t low = add32(base, add32(start, 1));
        const std::int32_t high = add32(base, add32(start, kBlock));
        if (device >= low && device <= high) return true;
    }
    return false;
}

// The server named by the first failover record present; the second record is
// not consulted when the first names nobody.
std::optional<std::string> partnerName(const SANBridge& bridge) {
    const Text* name = nullptr;
    if (bridge.failoverPrimary) {
        name = &bridge.failoverPrimary->secondaryServer;
    } else if (bridge.failoverSecondary) {
        name = &bridge.failoverSecondary->primaryServer;
    }
    if (name == nullptr || !name->has_value() || (*name)->empty()) return std::nullopt;
    return **name;
}

std::string partnerPath(const sys::HostEnv& env, const SANBridge* local, const std::string& fileName) {
    if (local == nullptr) return {};
    const std::optional<std::string> partner = partnerName(*local);
    if (!partner) return {};
    return xml::homePath(env, kEtc, *partner) + "/" + fileName;
}

std::string directoryOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

const NICInfoList* firstAddressList(const SANBridge& bridge) noexcept {
    if (bridge.failoverPrimary) return &bridge.failoverPrimary->nicInfoList;
    if (bridge.failoverSecondary) return &bridge.failoverSecondary->nicInfoList;
    return nullptr;
}

bool belongsTo(const sys::HostEnv& env, const SANBridge& bridge, const char* nameOrAddress) {
    if (const NICInfoList* addresses = firstAddressList(bridge)) {
        for (const NICInfo& nic : addresses->items) {
            for (const Text* field : {&nic.clientConnectionIP, &nic.heartbeatIP}) {
                if (*field && std::strcmp(field->value().c_str(), nameOrAddress) == 0) return true;
            }
        }
    }
    if (!bridge.name || bridge.name->empty()) return false;
    const std::optional<std::string> line =
        firstLine(xml::homePath(env, kEtc, *bridge.name) + "/" + xml::productFileName(".ip"));
    if (!line) return false;
    const std::optional<std::string> word = scanWord(*line);
    return word && std::strcmp(word->c_str(), nameOrAddress) == 0;
}

}  // namespace


std::string partnerConfigPath(const sys::HostEnv& env) noexcept {
    const std::unique_ptr<SANBridge> local = readDocument(xml::localConfigPath(env));
    return partnerPath(env, local.get(), xml::productFileName(".conf"));
}

std::string partnerNasPath(const sys::HostEnv& env) noexcept {
    const std::unique_ptr<SANBridge> local = readDocument(xml::localConfigPath(env));
    return partnerPath(env, local.get(), "nas.conf");
}

bool documentOwnsDevice(const std::string& configPath, std::int32_t device) noexcept {
    // A missing or unreadable index is no error: the document itself decides.
    if (const std::optional<std::string> line = firstLine(configPath + ".ndx")) {
        if (const std::optional<std::int32_t> next = scanInt32(*line)) return indexOwns(*next, device);
    }
    const std::unique_ptr<SANBridge> bridge = readDocument(configPath);
    return bridge != nullptr && findVirtualDev(*bridge, device) != nullptr;
}

std::string configDirectoryForDevice(const sys::HostEnv& env, std::int32_t device) noexcept {
    if (documentOwnsDevice(xml::localConfigPath(env), device)) return xml::localDirectory(env);
    const std::string partner = partnerConfigPath(env);
    if (!partner.empty() && documentOwnsDevice(partner, device)) return directoryOf(partner);
    return xml::localDirectory(env);
}

std::string configPathForDevice(const sys::HostEnv& env, std::int32_t device) noexcept {
    return configDirectoryForDevice(env, device) + "/" + xml::productFileName(".conf");
}

std::string statusPathForDevice(const sys::HostEnv& env, std::int32_t device) noexcept {
    return configDirectoryForDevice(env, device) + "/" + xml::productFileName(".dat");
}

std::string configDirectoryForServer(const sys::HostEnv& env, const char* nameOrAddress) noexcept {
    if (nameOrAddress == nullptr) return xml::localDirectory(env);
    const std::unique_ptr<SANBridge> local = readDocument(xml::localConfigPath(env));
    if (local && belongsTo(env, *local, nameOrAddress)) return xml::localDirectory(env);
    const std::string partner = partnerPath(env, local.get(), xml::productFileName(".conf"));
    if (!partner.empty()) {
        const std::unique_ptr<SANBridge> other = readDocument(partner);
        if (other && belongsTo(env, *other, nameOrAddress)) return directoryOf(partner);
    }
    return xml::localDirectory(env);
}

}  // namespace writer
