#include "writer/config_file.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <strings.h>

#include "host/status_block.h"
#include "model/records.h"
#include "writer/document.h"
#include "writer/file_update.h"
#include "writer/sink.h"
#include "xml/home.h"
#include "xml/posix_ops.h"

namespace writer {

namespace {

std::string defaultConfigPath(const model::SANBridge& bridge) {
    return xml::serverConfigPath(bridge.name ? *bridge.name : std::string());
}

bool endsWith(const std::string& text, const char* suffix) {
    const std::string_view tail(suffix);
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The status block has a group for this server and one for its partner; the
// document's bridge names which one it is.
host::StatusGroup groupOf(const model::SANBridge& bridge) {
    const std::string local = xml::hostName();
    const bool isLocal = bridge.name && ::strcasecmp(bridge.name->c_str(), local.c_str()) == 0;
    return isLocal ? host::StatusGroup::Local : host::StatusGroup::Partner;
}

// Only a plain directory entry names a server's directory under the home;
// "", ".", ".." or a name with "/" would put the index elsewhere.
bool namesServerDirectory(const model::Text& name) {
    return name && !name->empty() && *name != "." && *name != ".." && name->find('/') == std::string_view::npos;
}

}  // namespace

void writeIndexFile(const model::SANBridge& bridge) noexcept {
    try {
        if (!namesServerDirectory(bridge.name)) return;
        const std::string path = defaultConfigPath(bridge) + ".ndx";
        // Never through a link: a planted one would have root truncate its target.
        const int fd = xml::posixOps().open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0666);
        if (fd < 0) return;
        // Both numbers, in this order, are the file's settled content.
        const std::string line = std::to_string(bridge.logicalResources.nextVDevID) + "," +
                                 std::to_string(bridge.properties.snmp.trapLevel) + "\n";
        static_cast<void>(xml::posixOps().write(fd, line.data(), line.size()));  // an index is a hint
        static_cast<void>(xml::posixOps().close(fd));
    } catch (const std::bad_alloc&) {
        // no index: readers fall back to the document itself
    }
}

namespace {

// The update opened on `target` with the content, which `writeContent` puts
// into the sink, in its temporary file; null when that file can't be had.
template <typename WriteContent>
std::unique_ptr<FileUpdate> writeTemporary(const std::string& target, int pid, WriteContent writeContent) {
    std::unique_ptr<FileUpdate> update = FileUpdate::open(target.c_str(), pid);
    if (!update) return nullptr;
    XmlSink out = XmlSink::toStream(update->stream());
    writeContent(out);
    out.flush();
    return update;
}

// In pieces through the stream's buffer, as the model writer hands them
// over: one write of a whole 100 MB text cost the kernel about 0.2 s more
// than the same bytes in 64 KiB writes.
void writePieces(XmlSink& out, std::string_view bytes) {
    constexpr std::size_t kPiece = 32 * 1024;
    for (std::size_t at = 0; at < bytes.size(); at += kPiece) out.write(bytes.substr(at, kPiece));
}

// Every step of the safe update but the content, which `writeContent` puts
// into the sink.
template <typename WriteContent>
int updateFile(const char* path, const model::SANBridge& bridge, int pid, WriteContent writeContent) noexcept {
    try {
        const std::string target = path != nullptr ? std::string(path) : defaultConfigPath(bridge);
        std::unique_ptr<FileUpdate> update = writeTemporary(target, pid, writeContent);
        if (!update) return -1;
        writeIndexFile(bridge);

        // The running server learns the new instance; put back if the file is not replaced.
        std::optional<std::int32_t> previous;
        bool instanceSet = false;
        host::StatusGroup group = host::StatusGroup::Local;
        if (endsWith(target, "nimbra.conf")) {
            group = groupOf(bridge);
            previous = host::readConfigInstance(group);
            if (previous) instanceSet = host::setConfigInstance(group, bridge.instance);
        }
        const int result = update->commit(true);
        if (result != 0 && previous && *previous >= 0 && instanceSet) {
            static_cast<void>(host::setConfigInstance(group, *previous));
        }
        return result;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

}  // namespace

int writeDocumentToFile(const char* path, const model::SANBridge* bridge, std::time_t when, int pid) noexcept {
    if (bridge == nullptr) return -1;
    return updateFile(path, *bridge, pid, [&](XmlSink& out) { writeDocument(out, *bridge, when); });
}

int writeDocumentTextToFile(const char* path, const model::SANBridge* bridge, const ConfigText& text,
                            int pid) noexcept {
    if (bridge == nullptr || !text.text || text.length <= 0) return -1;
    const std::string_view bytes(text.text.get(), static_cast<std::size_t>(text.length));
    return updateFile(path, *bridge, pid, [bytes](XmlSink& out) { writePieces(out, bytes); });
}

int writeTextToFile(const char* path, const ConfigText& text, int pid) noexcept {
    if (path == nullptr || !text.text || text.length <= 0) {
        errno = EINVAL;
        return -1;
    }
    const std::string_view bytes(text.text.get(), static_cast<std::size_t>(text.length));
    try {
        std::unique_ptr<FileUpdate> update =
            writeTemporary(path, pid, [bytes](XmlSink& out) { writePieces(out, bytes); });
        return update ? update->commit(true) : -1;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return -1;
    }
}

}  // namespace writer
