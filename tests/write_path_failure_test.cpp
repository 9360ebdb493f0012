// The safe update of a configuration file under failing system calls and under
// a process killed between them. Every call of the write path goes through
// the HostEnv's table; a recording table in front of the real one numbers the
// calls, fails the Nth (once, or from then on) or kills the process right
// after it. The scene is a real one: a 4.5 document written over an existing
// nimbra.conf with a ".previous", a repository store beside it and the index
// file in the server's home.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "model/sanparse.h"
#include "tests/support/documents.h"
#include "tests/support/host_env.h"
#include "tests/support/log_capture.h"
#include "tests/support/quorum_store.h"
#include "tests/support/run_program.h"
#include "tests/support/temporary_home.h"
#include "writer/config_file.h"
#include "writer/document.h"

namespace {

using testing_support::LogCapture;
using testing_support::readFile;
using testing_support::storedCopy;
using testing_support::writeFile;

testing_support::TemporaryHome* const kHome = testing_support::addTemporaryHome();

constexpr std::time_t kWhen = 1'700'000'000;
const std::string kOld = "<old document/>\n";
const std::string kOlder = "<older document/>\n";
const std::string kOldIndex = "1,1\n";

// ---- the recording table ----

// What a call touched, by the role of the file in the update.
std::string roleOf(const std::string& path) {
    if (path.ends_with("#source")) return "source";  // the temporary file, read back by the deposit
    if (path.find("__quorum") != std::string::npos) return "device";
    if (path.ends_with(".lock")) return "lock";
    if (path.find("_to_Be_") != std::string::npos) return "temp";
    if (path.ends_with(".previous")) return "previous";
    if (path.ends_with(".ndx")) return "index";
    if (path.ends_with(".repository.conf")) return "description";
    if (path.ends_with("nimbra.conf")) return "target";
    return "directory";
}

struct Call {
    std::string op;
    std::string role;
    bool failed = false;
};

struct Recorder {
    std::vector<Call> calls;
    std::map<int, std::string> fdPaths;  // what each open descriptor names
    long failAt = 0;                     // 0: none
    bool fromThenOn = false;
    long killAfter = 0;                  // 0: never

    // Numbers the call; true when it is to fail.
    bool begin(const char* op, const std::string& path) {
        calls.push_back({op, roleOf(path)});
        const long n = static_cast<long>(calls.size());
        calls.back().failed = failAt != 0 && (n == failAt || (fromThenOn && n > failAt));
        return calls.back().failed;
    }
    void end() {
        if (killAfter != 0 && static_cast<long>(calls.size()) == killAfter) ::raise(SIGKILL);
    }
    std::string pathOf(int fd) const {
        const auto found = fdPaths.find(fd);
        return found == fdPaths.end() ? std::string("?") : found->second;
    }
    bool failed(const std::string& op, const std::string& role) const {
        return std::any_of(calls.begin(), calls.end(),
                           [&](const Call& c) { return c.failed && c.op == op && c.role == role; });
    }
    bool anyFailed(const std::string& role) const {
        return std::any_of(calls.begin(), calls.end(), [&](const Call& c) { return c.failed && c.role == role; });
    }
};

Recorder gRec;

// The real calls, except that syncing succeeds at once: what is tested is the
// order of the steps, and a thousand disk flushes would only slow it down.
const sys::Calls& real() {
    static const sys::Calls ops = [] {
        sys::Calls fast = sys::realCalls();
        fast.fsync = [](int) { return 0; };
        fast.sync = [] {};
        return fast;
    }();
    return ops;
}

// Each failure carries the error a real system would give there.
template <typename Result>
Result failWith(int error) {
    errno = error;
    return static_cast<Result>(-1);
}

// Numbers the call `op` on `path`: fails it with `error`, or makes it and
// then stops the process, when the recorder says so.
template <typename Call>
auto recorded(const char* op, const std::string& path, int error, Call call) {
    if (gRec.begin(op, path)) return failWith<decltype(call())>(error);
    const auto result = call();
    gRec.end();
    return result;
}

const sys::Calls kRecording = {
    [](const char* path, int flags, mode_t mode) {
        const int error = flags & O_CREAT ? ENOSPC : EIO;
        const bool source = (flags & O_CREAT) == 0 && roleOf(path) == "temp";
        const std::string name = source ? std::string(path) + "#source" : std::string(path);
        const int fd = recorded("open", name, error, [&] { return real().open(path, flags, mode); });
        if (fd >= 0) gRec.fdPaths[fd] = name;
        return fd;
    },
    [](int fd, const void* data, std::size_t size) {
        return recorded("write", gRec.pathOf(fd), ENOSPC, [&] { return real().write(fd, data, size); });
    },
    [](int fd, void* data, std::size_t size) {
        return recorded("read", gRec.pathOf(fd), EIO, [&] { return real().read(fd, data, size); });
    },
    [](int fd, off_t offset, int whence) {
        return recorded("lseek", gRec.pathOf(fd), EIO, [&] { return real().lseek(fd, offset, whence); });
    },
    [](int fd) { return recorded("fsync", gRec.pathOf(fd), EIO, [&] { return real().fsync(fd); }); },
    [](int fd) {
        const bool fail = gRec.begin("close", gRec.pathOf(fd));
        gRec.fdPaths.erase(fd);
        const int r = real().close(fd);  // a failing close still releases the descriptor
        if (fail) return failWith<int>(EIO);
        gRec.end();
        return r;
    },
    [](int fd, int command, struct flock* lock) {
        return recorded("lock", gRec.pathOf(fd), ENOLCK, [&] { return real().lock(fd, command, lock); });
    },
    [](const char* from, const char* to) { return recorded("link", from, EMLINK, [&] { return real().link(from, to); }); },
    [](const char* path) { return recorded("unlink", path, EBUSY, [&] { return real().unlink(path); }); },
    [](const char* from, const char* to) { return recorded("rename", from, EIO, [&] { return real().rename(from, to); }); },
    [](const char* path, struct stat* info) { return recorded("stat", path, EIO, [&] { return real().stat(path, info); }); },
    [](const char* path, struct stat* info) {
        return recorded("lstat", path, EIO, [&] { return real().lstat(path, info); });
    },
    [](int fd, mode_t mode) { return recorded("fchmod", gRec.pathOf(fd), EIO, [&] { return real().fchmod(fd, mode); }); },
    [](int fd, uid_t owner, gid_t group) {
        return recorded("fchown", gRec.pathOf(fd), EPERM, [&] { return real().fchown(fd, owner, group); });
    },
    [](char* buffer, std::size_t size) -> char* {
        if (gRec.begin("getcwd", ".")) {
            errno = ENOENT;
            return nullptr;
        }
        char* r = real().getcwd(buffer, size);
        gRec.end();
        return r;
    },
    []() {
        const bool fail = gRec.begin("sync", "/");
        if (!fail) real().sync();
        gRec.end();
    },
    // Compressing, the clock and waiting for a busy device are not reached by this scene.
    [](const char* command) { return real().system(command); },
    [](std::time_t* now) { return real().time(now); },
    [](const struct timespec* pause, struct timespec* left) { return real().nanosleep(pause, left); },
};

// ---- the scene ----

// "0600 1234:5678": the mode, owner and group of a file.
std::string accessOf(mode_t mode, uid_t owner, gid_t group) {
    char text[48];
    std::snprintf(text, sizeof text, "%04o %u:%u", mode & 07777, owner, group);
    return text;
}
std::string accessOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? accessOf(info.st_mode, info.st_uid, info.st_gid) : "(absent)";
}

std::unique_ptr<model::SANBridge> gBridge;
std::string gNewDocument;  // what a complete update leaves in the target
std::string gNewIndex;

std::string indexPath() { return kHome->path() + "/etc/" + *gBridge->name + "/nimbra.conf.ndx"; }

// One directory and store, put back to the same state before each run.
class Scene {
public:
    Scene() : oldAccess_((reset(), accessOf(target()))) {}
    void reset() const {
        for (const std::string& name : leftovers()) std::filesystem::remove(dir_.file(name));
        writeFile(target(), kOld);
        // Restricted, and not root's: the new document must stay so.
        ::chmod(target().c_str(), 0600);
        static_cast<void>(::chown(target().c_str(), 1234, 5678));  // root may; others keep their own
        writeFile(target() + ".previous", kOlder);
        writeFile(indexPath(), kOldIndex);
        // Room for the document and its ".org" copy, 15 MiB each.
        testing_support::formatQuorumStore(dir_.path(), devices_.path(), 70'000, "alpha");
    }
    const std::string& dir() const { return dir_.path(); }
    sys::HostEnv env(const sys::Calls& calls) const {
        sys::HostEnv env = testing_support::testEnv(kHome->path(), devices_.path());
        env.calls = &calls;
        return env;
    }
    const std::string& oldAccess() const { return oldAccess_; }
    std::string target() const { return dir_.file("nimbra.conf"); }
    std::string temp(pid_t pid) const { return target() + "_to_Be_" + std::to_string(pid); }
    bool exists(const std::string& path) const { return ::access(path.c_str(), F_OK) == 0; }
    // Files of the directory beyond the target, its backup, lock and store description.
    std::vector<std::string> leftovers() const {
        const std::vector<std::string> expected = {"nimbra.conf", "nimbra.conf.previous", ".nimbra.conf.lock",
                                                   ".repository.conf"};
        std::vector<std::string> extra;
        for (const auto& entry : std::filesystem::directory_iterator(dir_.path())) {
            const std::string name = entry.path().filename();
            if (std::find(expected.begin(), expected.end(), name) == expected.end()) extra.push_back(name);
        }
        return extra;
    }

private:
    testing_support::ScratchDir dir_;
    testing_support::ScratchDir devices_;
    const std::string oldAccess_;
};

int writeWithTable(const Scene& scene, const sys::Calls& calls = real()) {
    const std::string target = scene.target();
    return writer::writeConfigFile(scene.env(calls),
                                   {.path = target.c_str(), .bridge = gBridge.get(), .serverState = true});
}

class WritePath : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        gBridge = model::readBridge45(XLATE45_SOURCE_DIR "/tests/testdata/every_element45.xml");
        ASSERT_NE(gBridge, nullptr);
        ::mkdir((kHome->path() + "/etc/" + *gBridge->name).c_str(), 0755);
        const writer::ConfigText bytes = writer::writeDocumentToMemory(gBridge.get(), kWhen);
        gNewDocument.assign(bytes.text.get(), static_cast<std::size_t>(bytes.length));
        gNewIndex = std::to_string(gBridge->logicalResources.nextVDevID) + "," +
                    std::to_string(gBridge->properties.snmp.trapLevel) + "\n";
    }
    static void TearDownTestSuite() { gBridge.reset(); }
    void TearDown() override { gRec = Recorder(); }

    // The calls of one clean update, in order.
    static std::vector<Call> cleanRun() {
        Scene scene;
        LogCapture log(1);
        gRec = Recorder();
        EXPECT_EQ(writeWithTable(scene, kRecording), 0);
        EXPECT_EQ(readFile(scene.target()), gNewDocument);
        return gRec.calls;
    }
};

// A clean update goes through every part of the path in order: the lock is
// taken before the temporary file exists and released only after the rename
// and the directory sync, so a waiting reader or writer finds the new file whole.
TEST_F(WritePath, StepsInOrder) {
    const std::vector<Call> calls = cleanRun();
    const auto at = [&](const char* op, const char* role, bool last) {
        std::ptrdiff_t found = -1;
        for (std::size_t i = 0; i < calls.size(); ++i) {
            if (calls[i].op == op && calls[i].role == role && (last || found < 0)) found = static_cast<std::ptrdiff_t>(i);
        }
        EXPECT_GE(found, 0) << op << " of " << role;
        return found;
    };
    const std::ptrdiff_t unlock = at("lock", "lock", true);
    EXPECT_LT(at("lock", "lock", false), at("open", "temp", false));
    EXPECT_LT(at("fsync", "temp", false), at("link", "target", false));
    EXPECT_LT(at("link", "target", false), at("open", "device", false)) << "the old version kept before the deposit";
    EXPECT_LT(at("close", "device", true), at("rename", "temp", false)) << "deposited before the rename";
    EXPECT_LT(at("rename", "temp", false), at("fsync", "directory", false));
    EXPECT_GT(unlock, at("fsync", "directory", false)) << "unlocked only after the rename is durable";
    EXPECT_LT(unlock, at("close", "lock", true));
    EXPECT_LT(at("close", "index", false), at("rename", "temp", false));
    for (const char* op : {"read", "lseek", "unlink", "stat", "lstat", "fchmod", "fchown"}) {
        EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [&](const Call& c) { return c.op == op; })) << op;
    }
}

// Each call failing in turn, once and from then on. The target is the old
// document or the complete new one; "-1" only with the old one; the messages
// are the documented ones; and a clean update afterwards succeeds.
TEST_F(WritePath, EveryCallFailingInTurn) {
    const std::size_t points = cleanRun().size();
    ASSERT_GT(points, 20u);
    int injected = 0;
    Scene scene;
    for (const bool fromThenOn : {false, true}) {
        for (std::size_t n = 1; n <= points; ++n) {
            scene.reset();
            gRec = Recorder();
            gRec.failAt = static_cast<long>(n);
            gRec.fromThenOn = fromThenOn;
            LogCapture log(1);
            testing::internal::CaptureStderr();
            const int result = writeWithTable(scene, kRecording);
            const std::string err = testing::internal::GetCapturedStderr();
            const Recorder rec = gRec;
            ASSERT_LT(n, rec.calls.size() + 1);
            const Call& first = rec.calls[n - 1];
            SCOPED_TRACE(std::string(fromThenOn ? "from then on: " : "once: ") + "call " + std::to_string(n) + ", " +
                         first.op + " of " + first.role);
            ++injected;

            // A temporary file that cannot take the target's mode is given up like one never made.
            const bool modeFailed = rec.failed("fchmod", "temp");
            const bool noTemp = rec.failed("open", "temp") || modeFailed;
            const bool badTemp = !noTemp && rec.failed("write", "temp");
            const bool renamed = !noTemp && !badTemp && !rec.failed("rename", "temp");
            EXPECT_EQ(result, noTemp || badTemp ? -1 : 0);
            EXPECT_EQ(readFile(scene.target()), renamed ? gNewDocument : kOld);
            // The replacement keeps the old mode and owner, unless they could not be read or set.
            const mode_t mask = ::umask(0);
            ::umask(mask);
            std::string access = scene.oldAccess();
            if (renamed && rec.failed("lstat", "target")) access = accessOf(0666 & ~mask, ::geteuid(), ::getegid());
            else if (renamed && rec.failed("fchown", "temp")) access = accessOf(0600, ::geteuid(), ::getegid());
            EXPECT_EQ(accessOf(scene.target()), access);

            // The old version is kept unless the backup's own steps failed.
            std::string previous = kOld;
            if (noTemp || badTemp || rec.failed("stat", "target") || rec.failed("unlink", "previous")) {
                previous = kOlder;
            } else if (rec.failed("link", "target")) {
                previous = "(absent)";
            }
            const std::string previousPath = scene.target() + ".previous";
            EXPECT_EQ(scene.exists(previousPath) ? readFile(previousPath) : "(absent)", previous);

            // The index is a hint, rewritten in place: its own failed write empties it.
            std::string index = gNewIndex;
            if (noTemp || rec.failed("open", "index")) index = kOldIndex;
            else if (rec.failed("write", "index")) index = "";
            EXPECT_EQ(readFile(indexPath()), index);

            // A temporary file stays only when the update could not finish with it.
            const std::vector<std::string> extra = scene.leftovers();
            const bool tempRemoved = !modeFailed || !rec.failed("unlink", "temp");
            if (renamed || (noTemp && tempRemoved)) EXPECT_EQ(extra, std::vector<std::string>{});
            else EXPECT_EQ(extra, std::vector<std::string>{"nimbra.conf_to_Be_" + std::to_string(::getpid())});

            // Standard error holds the documented lines only.
            std::string expectedErr;
            if (rec.failed("open", "lock")) {
                expectedErr += "Can't open lock file " + std::string(std::filesystem::path(scene.target()).parent_path()) +
                               "/.nimbra.conf.lock - 28\n";
            }
            if (badTemp) {
                expectedErr += "Abort updating " + scene.target() + " error writing tmp file " +
                               scene.temp(::getpid()) + "\n";
            }
            EXPECT_EQ(err, expectedErr);

            // The repository takes the copy unless one of its own calls failed
            // (stdio recovers from some on its own); a failed deposit is logged
            // and never stops the update, and a deposit that says it succeeded
            // holds the complete document, under its name and the ".org" one.
            if (renamed && !rec.failed("stat", "description")) {
                const std::string exit = "Exit - filename = \"" + scene.temp(::getpid()) + "\", ret=";
                const bool deposited = log.has(exit + "0");
                EXPECT_TRUE(deposited || log.has(exit + "-1")) << testing::PrintToString(log.messages());
                const bool depositBroke = rec.anyFailed("device") || rec.anyFailed("description") ||
                                          rec.anyFailed("source") || rec.failed("stat", "temp");
                if (!depositBroke) {
                    EXPECT_TRUE(deposited);
                }
                if (deposited) {
                    EXPECT_EQ(storedCopy(scene.env(real()), scene.dir(), scene.target()), gNewDocument);
                    EXPECT_EQ(storedCopy(scene.env(real()), scene.dir(), scene.target() + ".org"), gNewDocument);
                }
            }

            // The next update, with nothing failing, goes through.
            EXPECT_EQ(writeWithTable(scene), 0);
            EXPECT_EQ(readFile(scene.target()), gNewDocument);
            EXPECT_EQ(scene.leftovers(), std::vector<std::string>{});
            EXPECT_EQ(storedCopy(scene.env(real()), scene.dir(), scene.target()), gNewDocument) << "the store recovered";
        }
    }
    std::printf("[          ] %d failure injections over %zu system calls\n", injected, points);
}

// The process killed right after each call: the target is the old document
// or the complete new one, never anything in between, and the next update
// (the lock died with the process) goes through.
TEST_F(WritePath, KilledAfterEveryCall) {
    const std::size_t points = cleanRun().size();
    Scene scene;
    for (std::size_t n = 1; n <= points; ++n) {
        SCOPED_TRACE("killed after call " + std::to_string(n));
        scene.reset();
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            gRec = Recorder();
            gRec.killAfter = static_cast<long>(n);
            LogCapture log(1);  // as in the clean run, so the calls are numbered alike
            static_cast<void>(writeWithTable(scene, kRecording));
            ::_exit(0);  // the call was never reached: counted as a finished update
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
        const std::string text = readFile(scene.target());
        EXPECT_TRUE(text == kOld || text == gNewDocument) << "partial target of " << text.size() << " bytes";
        EXPECT_EQ(writeWithTable(scene), 0);
        EXPECT_EQ(readFile(scene.target()), gNewDocument);
    }
}

}  // namespace
