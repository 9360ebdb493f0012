#include "writer/config_file.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <strings.h>

#include "host/status_block.h"
#include "model/records.h"
#include "writer/document.h"
#include "writer/file_update.h"
#include "writer/sink.h"
#include "xml/home.h"

namespace writer {

namespace {

std::string defaultConfigPath(const sys::HostEnv& env, const model::SANBridge& bridge) {
    return xml::serverConfigPath(env, bridge.name ? *bridge.name : std::string());
}

bool endsWith(const std::string& text, const char* suffix) {
    const std::string_view tail(suffix);
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The status block has a group for this server and one for its partner; the
// document's bridge names which one it is.
host::StatusGroup groupOf(const sys::HostEnv& env, const model::SANBridge& bridge) {
    const bool isLocal = bridge.name && ::strcasecmp(bridge.name->c_str(), env.hostName.c_str()) == 0;
    return isLocal ? host::StatusGroup::Local : host::StatusGroup::Partner;
}

// Only a plain directory entry names a server's directory under the home;
// "", ".", ".." or a name with "/" would put the index elsewhere.
bool namesServerDirectory(const model::Text& name) {
    return name && !name->empty() && *name != "." && *name != ".." && name->find('/') == std::string_view::npos;
}

// In pieces through the stream's buffer, as the model writer hands them
// over: the kernel takes a large text faster in stream-sized writes than in one.
void writePieces(XmlSink& out, std::string_view bytes) {
    constexpr std::size_t kPiece = 32 * 1024;
    for (std::size_t at = 0; at < bytes.size(); at += kPiece) out.write(bytes.substr(at, kPiece));
}

// The running server learns the new instance of its main configuration file;
// `commit` replaces the file, and when that fails the old instance goes back.
template <typename Commit>
int commitRecordingInstance(const sys::HostEnv& env, const std::string& target, const model::SANBridge& bridge,
                            Commit commit) {
    if (!endsWith(target, "nimbra.conf")) return commit();
    const host::StatusGroup group = groupOf(env, bridge);
    const std::optional<std::int32_t> previous = host::readConfigInstance(env, group);
    const bool instanceSet = previous && host::setConfigInstance(env, group, bridge.instance);
    const int result = commit();
    if (result != 0 && previous && *previous >= 0 && instanceSet) {
        static_cast<void>(host::setConfigInstance(env, group, *previous));
    }
    return result;
}

}  // namespace

void writeIndexFile(const sys::HostEnv& env, const model::SANBridge& bridge) noexcept {
    try {
        if (!namesServerDirectory(bridge.name)) return;
        const std::string path = defaultConfigPath(env, bridge) + ".ndx";
        const sys::Calls& calls = *env.calls;
        // Never through a link: a planted one would have root truncate its target.
        const int fd = calls.open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0666);
        if (fd < 0) return;
        // Both numbers, in this order, are the file's settled content.
        const std::string line = std::to_string(bridge.logicalResources.nextVDevID) + "," +
                                 std::to_string(bridge.properties.snmp.trapLevel) + "\n";
        static_cast<void>(calls.write(fd, line.data(), line.size()));  // an index is a hint
        static_cast<void>(calls.close(fd));
    } catch (const std::bad_alloc&) {
        // no index: readers fall back to the document itself
    }
}

int writeConfigFile(const sys::HostEnv& env, const FileWrite& what) noexcept {
    const model::SANBridge* bridge = what.bridge;
    const bool needsBridge = what.path == nullptr || !what.text || what.serverState;
    if (needsBridge && bridge == nullptr) {
        errno = EINVAL;
        return -1;
    }
    try {
        const std::string target = what.path != nullptr ? std::string(what.path) : defaultConfigPath(env, *bridge);
        std::unique_ptr<FileUpdate> update = FileUpdate::open(env, target.c_str());
        if (!update) return -1;
        {
            XmlSink out = XmlSink::toStream(update->stream());
            if (what.text) writePieces(out, *what.text);
            else writeDocument(out, *bridge, env.now);
            out.flush();
        }
        const auto commit = [&] { return update->commit(true); };
        if (!what.serverState) return commit();
        writeIndexFile(env, *bridge);
        return commitRecordingInstance(env, target, *bridge, commit);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return -1;
    }
}

}  // namespace writer
