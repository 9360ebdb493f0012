#include "writer/file_update.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/cfgrepository.h"

namespace writer {

namespace {

RepositoryFailureHook gRepositoryFailureHook = nullptr;

// Stdio buffer of the temporary file: documents run to tens of megabytes.
constexpr std::size_t kStreamBuffer = 1 << 16;

// "/dir/name" -> "/dir/", "name" -> "".
std::string directoryPart(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Keeps the replaced version as "<target>.previous". Only for a path with a
// directory part, and only when the target exists; a failure never blocks the update.
void keepPrevious(const sys::Calls& calls, const std::string& path) {
    if (path.find('/') == std::string::npos) return;
    struct stat info;
    if (calls.stat(path.c_str(), &info) != 0) return;
    const std::string previous = path + ".previous";
    static_cast<void>(calls.unlink(previous.c_str()));
    static_cast<void>(calls.link(path.c_str(), previous.c_str()));
}

// An upgrade never widens access to a file an administrator restricted: the
// replacement takes the old file's mode, and its owner and group where the
// process may give them away. Owner first: changing it clears set-id bits.
// False when the mode could not be taken. A new target keeps the umask's mode.
bool keepAccessOf(const sys::Calls& calls, const std::string& path, int fd) {
    struct stat old;
    if (calls.lstat(path.c_str(), &old) != 0 || !S_ISREG(old.st_mode)) return true;
    static_cast<void>(calls.fchown(fd, old.st_uid, old.st_gid));  // only root may, mostly
    return calls.fchmod(fd, old.st_mode & 07777) == 0;
}

// A store on the quorum disk is described beside the target; the partner
// recovers configurations from it. Its outcome never stops the update.
void depositInRepository(const sys::HostEnv& env, const std::string& tmpPath, const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? path : path.substr(0, slash);
    const std::string description = dir + "/.repository.conf";
    struct stat info;
    if (env.calls->stat(description.c_str(), &info) != 0) return;
    const int result = host::CFGREPOSITORY_addFileAs(env, dir.c_str(), tmpPath.c_str(), path.c_str(), nullptr);
    if (result != 0 && path.find("nimbra.conf") != std::string::npos && gRepositoryFailureHook != nullptr) {
        gRepositoryFailureHook();
    }
}

// Makes the rename durable: fsync of the directory that holds the new name.
void syncDirectoryOf(const sys::Calls& calls, const std::string& tmpPath) {
    std::string dir = directoryPart(tmpPath);
    if (dir.empty()) {
        char cwd[PATH_MAX];
        if (calls.getcwd(cwd, sizeof cwd) == nullptr) {
            calls.sync();  // no directory to name: flush everything
            return;
        }
        dir = cwd;
    }
    const int fd = calls.open(dir.c_str(), O_RDONLY | O_DIRECTORY, 0);
    if (fd < 0) return;
    static_cast<void>(calls.fsync(fd));
    static_cast<void>(calls.close(fd));
}

}  // namespace

void setRepositoryFailureHook(RepositoryFailureHook hook) noexcept { gRepositoryFailureHook = hook; }

std::string updateObstacle(const char* targetPath) {
    const std::string target = targetPath;
    struct stat info {};
    if (::lstat(targetPath, &info) == 0) {
        if (S_ISLNK(info.st_mode)) return target + " is a symbolic link";
        if (S_ISDIR(info.st_mode)) return target + " is a directory";
        if (!S_ISREG(info.st_mode)) return target + " is not a regular file (a device, pipe or socket)";
    } else if (errno != ENOENT) {
        return target + ": " + std::strerror(errno);
    }
    std::string dir = directoryPart(target);
    if (dir.empty()) dir = ".";
    if (::stat(dir.c_str(), &info) != 0) return "directory " + dir + ": " + std::strerror(errno);
    if (!S_ISDIR(info.st_mode)) return dir + " is not a directory";
    if (::access(dir.c_str(), W_OK | X_OK) != 0) return "directory " + dir + ": " + std::strerror(errno);
    return {};
}

std::unique_ptr<FileUpdate> FileUpdate::open(const sys::HostEnv& env, const char* targetPath) noexcept {
    try {
        const sys::Calls& calls = *env.calls;
        std::unique_ptr<FileUpdate> update(new FileUpdate(env));
        update->path_ = targetPath;
        // Writers of one target are serialised; readers wait until the rename.
        update->lock_ = xml::LockFile::acquire(calls, targetPath, true);
        update->tmpPath_ = update->path_ + "_to_Be_" + std::to_string(env.pid);
        const char* const tmp = update->tmpPath_.c_str();
        // The name is predictable and the tool runs as root: whatever lies
        // there (a stale file of an earlier run with this pid, a planted link)
        // goes first, and the file is made only if nothing came back meanwhile.
        static_cast<void>(calls.unlink(tmp));  // the exclusive create decides
        update->fd_ = calls.open(tmp, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0666);
        if (update->fd_ < 0) return nullptr;  // the destructor releases the lock
        if (!keepAccessOf(calls, update->path_, update->fd_)) {
            static_cast<void>(calls.close(update->fd_));
            update->fd_ = -1;
            static_cast<void>(calls.unlink(tmp));  // empty and ours: nothing to inspect
            return nullptr;
        }
        update->stream_ = sys::streamOver(calls, update->fd_, "w");
        if (update->stream_ == nullptr) return nullptr;
        std::setvbuf(update->stream_, nullptr, _IOFBF, kStreamBuffer);
        return update;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

FileUpdate::~FileUpdate() {
    if (stream_ != nullptr) std::fclose(stream_);  // abandoned: the temporary file stays
    else if (fd_ >= 0) static_cast<void>(env_.calls->close(fd_));
}

int FileUpdate::commit(bool sync) noexcept {
    const sys::Calls& calls = *env_.calls;
    std::fflush(stream_);
    if (sync) static_cast<void>(calls.fsync(fd_));  // a failure shows as lost data only
    const bool writeFailed = std::ferror(stream_) != 0;
    std::fclose(stream_);
    stream_ = nullptr;
    fd_ = -1;
    int result = 0;
    if (writeFailed) {
        std::fprintf(stderr, "Abort updating %s error writing tmp file %s\n", path_.c_str(), tmpPath_.c_str());
        result = -1;
    } else {
        // The steps around the rename are best effort, also when memory runs
        // out; the rename itself needs none.
        try {
            keepPrevious(calls, path_);
        } catch (const std::bad_alloc&) {
        }
        try {
            if (sync) depositInRepository(env_, tmpPath_, path_);
        } catch (const std::bad_alloc&) {
        }
        static_cast<void>(calls.rename(tmpPath_.c_str(), path_.c_str()));  // the commit point
        try {
            if (sync) syncDirectoryOf(calls, tmpPath_);
        } catch (const std::bad_alloc&) {
            calls.sync();  // no name for the directory: flush everything
        }
    }
    // Released only now: a waiting reader or writer sees the complete new file.
    lock_.release();
    return result;
}

}  // namespace writer
