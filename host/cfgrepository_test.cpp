#include "host/cfgrepository.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

#include "tests/support/host_env.h"
#include "tests/support/log_capture.h"
#include "tests/support/quorum_store.h"
#include "tests/support/run_program.h"

namespace host {
namespace {

using testing_support::LogCapture;
using testing_support::readFile;
using testing_support::TempDir;
using testing_support::writeFile;

constexpr std::uint64_t kSector = 512;
constexpr std::uint32_t kFirstArea = 40 * 512;  // where a formatted store puts its first data area
constexpr std::uint32_t kMiB = 1'048'576;
constexpr std::uint32_t kConfAllotment = 15'728'640;
constexpr std::uint32_t kTwoConfs = 40 + 2 * 30720 + 8;  // sectors for a main configuration and its .org

// Fields read back from the raw image, independently of the library's accessors.
std::uint64_t le(const std::string& bytes, std::size_t offset, int width) {
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(bytes.at(offset + i));
    return value;
}

std::string pattern(std::size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + seed) % 251);
    return bytes;
}

// A formatted store of this node ("alpha") and the HostEnv that finds it.
class Store {
public:
    Store(std::uint32_t endingSector, int copies, const std::string& owner = "alpha")
        : env_(testing_support::testEnv("/nonexistent", devices_.path())) {
        testing_support::formatQuorumStore(base_.path(), devices_.path(), endingSector, owner, copies);
    }
    const sys::HostEnv& env() const { return env_; }
    const std::string& base() const { return base_.path(); }
    std::string device() const { return devices_.file("__quorum7__"); }
    std::string source(const std::string& name, const std::string& bytes) const {
        writeFile(work_.file(name), bytes);
        return work_.file(name);
    }
    int add(const std::string& source, const char* saveAs, const char* owner = nullptr) const {
        return CFGREPOSITORY_addFileAs(env_, base().c_str(), source.c_str(), saveAs, owner);
    }
    std::string image() const { return readFile(device()); }
    std::string bytesAt(std::uint64_t offset, std::size_t size) const { return image().substr(offset, size); }
    std::string master() const { return bytesAt(0, 172); }
    std::string item(int index) const { return bytesAt((1 + index) * kSector, 172); }
    std::string itemName(int index) const { return item(index).substr(0, 128).c_str(); }
    void poke(std::uint64_t offset, const std::string& bytes) const {
        const int fd = ::open(device().c_str(), O_RDWR);
        EXPECT_EQ(::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }

private:
    TempDir base_, devices_, work_;
    sys::HostEnv env_;
};

TEST(CfgRepository, DescriptionFile) {
    struct Row {
        const char* why;
        std::string text;
        int result;
        int vid;
        std::uint32_t endingSector;
    };
    const Row rows[] = {
        {"section headers are passed over", "[quorum]\nvid = 7\nendingSector = 400\n", 0, 7, 400},
        {"keys in any case, any order", "ENDINGSECTOR = 4294967295\nVid = 12\n", 0, 12, 4294967295u},
        {"a key needs spaces round '='", "vid=7\nendingSector = 400\n", -1, -1, 0},
        {"endingSector missing", "vid = 7\n", -1, -1, 0},
        {"the first of a key wins", "vid = 3\nvid = 4\nendingSector = 9\nvid = 5\n", 0, 4, 9},
        {"lines are read 1023 bytes at a time", "vid = 7\n# " + std::string(1021, 'c') + "endingSector = 5\n", 0, 7, 5},
        {"no line end at the end", "vid = 7\nendingSector = 400", 0, 7, 400},
        {"a NUL ends the text of its line only", std::string("vid = 7\0 x\nendingSector = 1\n", 28), 0, 7, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        TempDir base;
        writeFile(base.file(".repository.conf"), row.text);
        RepositoryConf conf;
        EXPECT_EQ(CFGREPOSITORY_getRepositoryConf(sys::realCalls(), base.path().c_str(), &conf), row.result);
        RepositoryConf inMemory;
        EXPECT_EQ(CFGREPOSITORY_parseRepositoryConf(row.text.data(), row.text.size(), &inMemory), row.result);
        if (row.result == 0) {
            EXPECT_EQ(conf.vid, row.vid);
            EXPECT_EQ(conf.endingSector, row.endingSector);
            EXPECT_EQ(inMemory.vid, row.vid);
            EXPECT_EQ(inMemory.endingSector, row.endingSector);
        }
    }
    TempDir none;
    RepositoryConf conf;
    LogCapture log(1);
    EXPECT_EQ(CFGREPOSITORY_getRepositoryConf(sys::realCalls(), none.path().c_str(), &conf), -5);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"file \"" + none.path() + "/.repository.conf\" does not exist"});
    EXPECT_EQ(CFGREPOSITORY_addFileAs(testing_support::testEnv(), none.path().c_str(), "/etc/hostname", nullptr,
                                      nullptr),
              0)
        << "no description: no store, which is no failure";
    EXPECT_TRUE(std::filesystem::is_empty(none.path()));
}

// Each refusal is logged and leaves the device as it was. In the messages,
// {base}, {device} and {src} stand for the store's paths.
TEST(CfgRepository, RefusalsChangeNothing) {
    struct Row {
        const char* why;
        std::uint32_t sectors;
        std::function<void(const Store&)> spoil;
        std::vector<std::string> messages;
        const char* base = "{base}";  // the base directory given; null for none
        const char* file = "{src}";
    };
    const auto description = [](const char* text) {
        return [text](const Store& s) { writeFile(s.base() + "/.repository.conf", text); };
    };
    const auto none = [](const Store&) {};
    const Row rows[] = {
        {"vid missing", 400, description("endingSector = 400\n"),
         {"MGT_ERROR: Failed to get info from file \"{base}/.repository.conf\", vid =-1, endingSector = 400"}},
        {"vid below 1", 400, description("vid = 0\nendingSector = 400\n"), {}},
        {"no such device", 400, description("vid = 8\nendingSector = 400\n"),
         {"raw file=\"{device}\" does not exist"}},
        {"other format version", 400, [](const Store& s) { s.poke(0, std::string("\x65\x00", 2)); },
         {"MGT_ERROR: version number do not match, should be 102, got 101"}},
        {"device shorter than the header", 400, [](const Store& s) { ASSERT_EQ(::truncate(s.device().c_str(), 100), 0); },
         {"MGT_ERROR: Read disk failed while getting master header, vid=7."}},
        {"item table unreadable", 400,
         [](const Store& s) {
             s.poke(2, std::string("\x03\x00", 2));
             ASSERT_EQ(::truncate(s.device().c_str(), 1024), 0);
         },
         {"MGT_ERROR: Read disk failed for guid=\"{device}\", sector=2, size=172. Filename=\"hostlist\"."}},
        {"no room for a new data area", 140, none,
         {"MGT_ERROR: Not enough space to copy \"{src}\"! file_offset(20480) max_file_size(1048576) "
          "repository_size(72192)",
          "CFGREPOSITORY_depositFile failed for \"{src}\" as \"hostlist\"."}},
        {"no base directory", 400, none, {"MGT_ERROR: base_dir cannot be NULL"}, nullptr},
        {"no file name", 400, none, {"MGT_ERROR: filename cannot be NULL"}, "{base}", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(row.sectors, 1);
        row.spoil(store);
        const std::string before = store.image();
        const std::string src = store.source("src", "data");
        std::string device = store.device();
        if (std::string(row.why) == "no such device") device.replace(device.rfind('7'), 1, "8");
        const auto fill = [&](std::string text) {
            for (const auto& [key, value] : {std::pair<std::string, std::string>{"{base}", store.base()},
                                             {"{device}", device}, {"{src}", src}}) {
                for (std::size_t at; (at = text.find(key)) != std::string::npos;) text.replace(at, key.size(), value);
            }
            return text;
        };
        std::vector<std::string> expected;
        for (const std::string& message : row.messages) expected.push_back(fill(message));
        const std::string base = row.base != nullptr ? fill(row.base) : "";
        const std::string file = row.file != nullptr ? fill(row.file) : "";
        LogCapture log;
        EXPECT_EQ(CFGREPOSITORY_addFileAs(store.env(), row.base != nullptr ? base.c_str() : nullptr,
                                          row.file != nullptr ? file.c_str() : nullptr, "hostlist", nullptr),
                  -1);
        EXPECT_EQ(log.messages(), expected);
        EXPECT_EQ(store.image(), before);
    }
}

// Deposits of one name go round its slots; the layout is checked byte by byte.
TEST(CfgRepository, DepositsGoRoundTheSlots) {
    Store store(40 + 3 * 2048 + 8, 3);
    struct Row {
        std::size_t size;
        int slot;
        std::uint32_t slotOffset;
        std::uint32_t nextFree;
    };
    const Row rows[] = {
        {1300, 0, kFirstArea, kFirstArea + kMiB},  // a new area for every new slot
        {700, 1, kFirstArea + kMiB, kFirstArea + 2 * kMiB},
        {kMiB, 2, kFirstArea + 2 * kMiB, kFirstArea + 3 * kMiB},  // exactly the allotted space
        {0, 0, kFirstArea, kFirstArea + 3 * kMiB},                // back to slot 0, which keeps its area
    };
    std::string slotData[3];
    for (const Row& row : rows) {
        SCOPED_TRACE(row.size);
        const std::string data = pattern(row.size, static_cast<unsigned>(row.size));
        ASSERT_EQ(store.add(store.source("hostlist.tmp", data), "hostlist"), 0);
        slotData[row.slot] = data;
        const std::string master = store.master();
        EXPECT_EQ(le(master, 0, 2), 102u);
        EXPECT_EQ(le(master, 2, 2), 1u) << "item count";
        EXPECT_EQ(le(master, 148, 4), 512u + 512u) << "base + 512 x items";
        EXPECT_EQ(le(master, 156, 4), row.nextFree);
        EXPECT_EQ(le(master, 160, 8), 1'700'000'000u) << "the deposit's time";
        const std::string item = store.item(0);
        EXPECT_EQ(store.itemName(0), "hostlist");
        EXPECT_EQ(le(item, 128, 4), 3u | (static_cast<std::uint64_t>(row.slot) << 8)) << "copies, last, bad, index";
        EXPECT_EQ(le(item, 132, 4), row.size) << "stored size";
        EXPECT_EQ(le(item, 136, 4), kMiB) << "allotted";
        EXPECT_EQ(le(item, 140 + 4 * row.slot, 4), row.slotOffset);
        const std::size_t padded = (row.size + kSector - 1) / kSector * kSector;  // whole sectors, zero-padded
        EXPECT_EQ(store.bytesAt(row.slotOffset, padded), data + std::string(padded - row.size, '\0'));
    }
    for (int slot = 1; slot < 3; ++slot) {
        const std::uint32_t offset = static_cast<std::uint32_t>(le(store.item(0), 140 + 4 * slot, 4));
        EXPECT_EQ(store.bytesAt(offset, slotData[slot].size()), slotData[slot]) << "older copies stay";
    }
}

TEST(CfgRepository, SlotChoice) {
    struct Row {
        const char* why;
        std::uint8_t copies, last, bad;
        int slot;  // -1: refused
    };
    const Row rows[] = {
        {"nothing written yet", 3, 0xFF, 0x00, 0},
        {"the one after the last", 3, 0, 0x00, 1},
        {"a bad slot is skipped", 3, 0, 0x02, 2},
        {"wraps to 0", 3, 2, 0x00, 0},
        {"wraps past bad slots", 3, 1, 0x05, 1},
        {"a last slot out of range starts at 0", 3, 7, 0x00, 0},
        {"one copy: slot 0 whatever its mark", 1, 0, 0x01, 0},
        {"no copies count as one", 0, 0xFF, 0x00, 0},
        {"all slots bad", 3, 0, 0x07, -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(40 + 3 * 2048 + 8, 3);
        const std::string src = store.source("src", pattern(600, 9));
        std::unique_ptr<Repository> repository;
        ASSERT_EQ(CFGREPOSITORY_getRepository(store.env(), store.base().c_str(), &repository), 0);
        MasterHeader master;
        ASSERT_EQ(CFGREPOSITORY_getMasterHeader(repository.get(), &master), 0);
        ItemSection item;
        ASSERT_EQ(CFGREPOSITORY_addItemSection(&master, "hostlist", &item), 0);
        item.setCopies(row.copies);
        item.setLastSlot(row.last);
        item.setBadSlots(row.bad);
        const std::string before = store.image();
        LogCapture log;
        const int result = CFGREPOSITORY_depositFile(repository.get(), &master, &item, src.c_str());
        repository.reset();
        if (row.slot < 0) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(log.messages(), std::vector<std::string>{
                                          "MGT_ERROR: All 3 file slots are bad. The Quorum drive need to be recreated!"});
            EXPECT_EQ(store.image(), before);
            continue;
        }
        EXPECT_EQ(result, 0);
        EXPECT_EQ(le(store.item(0), 129, 1), static_cast<std::uint64_t>(row.slot));
        EXPECT_EQ(le(store.item(0), 140 + 4 * row.slot, 4), kFirstArea);
        EXPECT_EQ(store.bytesAt(kFirstArea, 600), pattern(600, 9));
    }
}

TEST(CfgRepository, ThirtyNinthItemIsRefused) {
    Store store(40 + 39 * 2 + 8, 1);
    const std::string src = store.source("src", "x");
    for (int i = 1; i <= 38; ++i) {
        const std::string name = "f" + std::to_string(100 + i) + ".testfile";
        ASSERT_EQ(store.add(src, name.c_str()), 0) << name;
    }
    EXPECT_EQ(store.itemName(37), "f138.testfile");
    EXPECT_EQ(le(store.item(37), 136, 4), 1024u) << "a testfile's allotment";
    const std::string before = store.image();
    LogCapture log;
    EXPECT_EQ(store.add(src, "f139.testfile"), -1);
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"MGT_ERROR: Not enough space to add new item \"f139.testfile\" to master "
                                        "header, maximum item allowed=38, current item count=38",
                                        "CFGREPOSITORY_addItemSection failed for \"f139.testfile\"."}));
    EXPECT_EQ(store.image(), before);
    EXPECT_EQ(store.add(src, "f101.testfile"), 0) << "a known name still goes in";
}

// The compressed copy's name is predictable: a link planted there, to a file
// or to nowhere, is removed, never written through.
TEST(CfgRepository, CompressedCopyIsANewFile) {
    TempDir dir;
    const std::string src = dir.file("nimbra.conf_to_Be_7");
    writeFile(src, "<SANConfig/>");
    writeFile(dir.file("victim"), "keep me");
    for (const char* linked : {"victim", "nowhere"}) {
        SCOPED_TRACE(linked);
        ASSERT_EQ(::symlink(dir.file(linked).c_str(), (src + ".gz").c_str()), 0);
        ASSERT_EQ(CFGREPOSITORY_gzipFile(sys::realCalls(), src.c_str()), 0);
        EXPECT_EQ(std::system(("/bin/gzip -dc " + src + ".gz | cmp -s - " + src).c_str()), 0);
        EXPECT_EQ(readFile(dir.file("victim")), "keep me");
        EXPECT_FALSE(std::filesystem::exists(dir.file("nowhere")));
        std::filesystem::remove(src + ".gz");
    }
}

TEST(CfgRepository, OversizedMainConfigIsCompressedAndCopiedToOrg) {
    Store store(kTwoConfs, 1);
    std::string text;
    while (text.size() < 15'728'641) text += "<PhysicalDev name=\"disk\" guid=\"0123\"/>\n";
    text.resize(15'728'641);
    const std::string src = store.source("nimbra.conf_to_Be_1", text);
    LogCapture log(1);
    ASSERT_EQ(store.add(src, "nimbra.conf"), 0);
    EXPECT_TRUE(log.has("File \"" + src +
                        "\" size = 15728641 is too big for the allotted space 15728640 to copy, compress and try again"));
    EXPECT_FALSE(std::filesystem::exists(src + ".gz")) << "the compressed file is not left behind";

    const std::uint64_t stored = le(store.item(0), 132, 4);
    ASSERT_GT(stored, 0u);
    ASSERT_LT(stored, kConfAllotment);
    const std::string packed = store.bytesAt(kFirstArea, stored);
    std::string plain, why;
    ASSERT_TRUE(isCompressedCopy(packed));
    ASSERT_EQ(uncompressCopy(packed, &plain, &why), 0) << why;
    EXPECT_TRUE(plain == text) << "the slot holds the file, compressed";
    EXPECT_EQ(store.itemName(1), "nimbra.conf.org");
    EXPECT_EQ(le(store.item(1), 132, 4), stored);
    EXPECT_EQ(le(store.item(1), 140, 4), kFirstArea + kConfAllotment);
    EXPECT_TRUE(store.bytesAt(kFirstArea + kConfAllotment, stored) == packed) << "the .org copy is the same bytes";
}

TEST(CfgRepository, OrgCopyFollowsOnlyThisServersMainConfig) {
    struct Row {
        const char* why;
        std::string saveAs;
        const char* owner;
        std::vector<std::string> items;
        std::string message;  // "": none
    };
    const std::string cut = std::string(113, 'x') + "nimbra.conf";  // 124 + ".org" does not fit in 127
    const Row rows[] = {
        {"no configuration owner", "nimbra.conf", nullptr, {"nimbra.conf", "nimbra.conf.org"}, ""},
        {"owned by this node", "nimbra.conf", "alpha", {"nimbra.conf", "nimbra.conf.org"}, ""},
        {"the partner's configuration", "nimbra.conf", "beta", {"nimbra.conf"}, ""},
        {"a path ending in the name", "etc/a/nimbra.conf", nullptr, {"etc/a/nimbra.conf", "etc/a/nimbra.conf.org"}, ""},
        {"not the main configuration", "nimbra.dat", nullptr, {"nimbra.dat"}, ""},
        {"an .org name that would be cut", cut, nullptr, {cut}, "nimbra.conf.org filename truncation, abort!"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(kTwoConfs, 1);
        const std::string data = pattern(3000, 4);
        LogCapture log;
        EXPECT_EQ(store.add(store.source("src", data), row.saveAs.c_str(), row.owner), row.message.empty() ? 0 : -1);
        EXPECT_EQ(log.messages(), row.message.empty() ? std::vector<std::string>{} : std::vector{row.message});
        ASSERT_EQ(le(store.master(), 2, 2), row.items.size());
        for (std::size_t i = 0; i < row.items.size(); ++i) {
            EXPECT_EQ(store.itemName(static_cast<int>(i)), row.items[i]);
            EXPECT_EQ(store.bytesAt(le(store.item(static_cast<int>(i)), 140, 4), data.size()), data);
        }
    }
}

TEST(CfgRepository, OwnerCheck) {
    struct Row {
        const char* why;
        const char* storeOwner;
        const char* saveAs;
        bool deposited;
        std::vector<std::string> messages;  // at level 1, between "Enter" and the deposit's own lines
    };
    const Row rows[] = {
        {"no owner set", "", "hostlist", true, {"repository owner is not set"}},
        {"owned by this node", "alpha", "hostlist", true, {}},
        {"owned by the partner", "beta", "hostlist", false,
         {"repository owner \"beta\" did not match node name \"alpha\".",
          "Did not update \"hostlist\" to the repository, owner = \"beta\", update_nimbra_conf status = 0."}},
        {"owned by the partner, main configuration", "beta", "nimbra.conf", false,
         {"repository owner \"beta\" did not match node name \"alpha\".",
          "Did not update \"nimbra.conf\" to the repository, owner = \"beta\", update_nimbra_conf status = 1."}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(kTwoConfs, 1, row.storeOwner);
        const std::string src = store.source("src", "data");
        const std::string before = store.image();
        LogCapture log(1);
        EXPECT_EQ(store.add(src, row.saveAs), 0);
        for (const std::string& message : row.messages) EXPECT_TRUE(log.has(message)) << message;
        if (row.deposited) {
            EXPECT_EQ(store.itemName(0), row.saveAs);
        } else {
            EXPECT_EQ(store.image(), before);
            EXPECT_TRUE(log.has("Exit - filename = \"" + src + "\", ret=0"));
        }
    }
}

TEST(CfgRepository, CopyOfTheWrongSizeMarksTheSlotBad) {
    Store store(40 + 2 * 2048 + 8, 2);
    const char* shrinking = "/proc/self/status";  // size 0 to stat, yet it reads out its text
    LogCapture log;
    EXPECT_EQ(store.add(shrinking, "hostlist"), -1);
    ASSERT_GE(log.messages().size(), 2u);
    EXPECT_TRUE(log.messages()[0].starts_with("MGT_ERROR: Mark copy index 0 as bad because file size in repository ("));
    EXPECT_TRUE(log.messages()[0].ends_with(") does not match actual file size (0). Filename=\"/proc/self/status\"."));
    EXPECT_EQ(log.messages()[1], "MGT_ERROR: QUORUMREPOSIT_copyFile failed for \"/proc/self/status\"!");
    // The mark and the slot's area are on the device; the next copy goes elsewhere.
    EXPECT_EQ(le(store.item(0), 129, 2), 0x01FFu) << "bad slot 0, nothing written last";
    EXPECT_EQ(le(store.master(), 156, 4), kFirstArea + kMiB);
    EXPECT_EQ(store.add(store.source("src", "good"), "hostlist"), 0);
    EXPECT_EQ(le(store.item(0), 129, 1), 1u);
    EXPECT_EQ(store.bytesAt(kFirstArea + kMiB, 4), "good");
}

TEST(CfgRepository, SourceProblems) {
    for (const std::size_t size : {0, 4096}) {  // 0: no source file at all
        SCOPED_TRACE(size);
        Store store(400, 1);
        TempDir work;
        const std::string src = work.file("src");
        if (size > 0) {
            std::mt19937 random(5);
            std::string noise(size, '\0');
            for (char& c : noise) c = static_cast<char>(random());  // gzip cannot shrink it
            writeFile(src, noise);
        }
        LogCapture log;
        EXPECT_EQ(store.add(src, "x.testfile"), -1);
        ASSERT_EQ(log.messages().size(), 3u);
        if (size == 0) {
            EXPECT_EQ(log.messages()[0], "File \"" + src + "\" does not exist.");
        } else {
            EXPECT_TRUE(log.messages()[0].starts_with("Compressed file \"" + src + ".gz\" size = "));
            EXPECT_TRUE(log.messages()[0].ends_with(" is still too big for the allotted space 1024 to copy, abort copy"));
        }
        EXPECT_EQ(log.messages()[1], "MGT_ERROR: QUORUMREPOSIT_copyFile failed for \"" + src + "\"!");
        EXPECT_FALSE(std::filesystem::exists(src + ".gz"));
        EXPECT_EQ(le(store.item(0), 129, 1), 0xFFu) << "nothing counts as written";
        EXPECT_EQ(le(store.master(), 0, 2), 102u) << "the store stays readable";
    }
}

// Every open of the device is closed again, whatever the deposit's outcome.
TEST(CfgRepository, DeviceIsClosedAfterEachDeposit) {
    static int openDevices = 0;
    sys::Calls counting = sys::realCalls();
    counting.open = [](const char* path, int flags, mode_t mode) {
        const int fd = sys::realCalls().open(path, flags, mode);
        if (fd >= 0 && std::strstr(path, "__quorum") != nullptr) ++openDevices;
        return fd;
    };
    counting.close = [](int fd) {
        char link[64], target[4096] = "";
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
        if (::readlink(link, target, sizeof target - 1) > 0 && std::strstr(target, "__quorum") != nullptr) --openDevices;
        return sys::realCalls().close(fd);
    };
    Store store(kTwoConfs, 1);
    sys::HostEnv env = store.env();
    testing_support::ScopedCalls use(env, counting);
    const std::string src = store.source("src", "data");
    const std::string missing = src + ".missing";
    for (const auto& [file, saveAs] : {std::pair{src, "hostlist"}, {src, "nimbra.conf"}, {missing, "hostlist"}}) {
        SCOPED_TRACE(file + " as " + saveAs);
        LogCapture quiet;
        static_cast<void>(CFGREPOSITORY_addFileAs(env, store.base().c_str(), file.c_str(), saveAs, nullptr));
        EXPECT_EQ(openDevices, 0);
    }
}

// A busy device is waited for, a second at a time, until 30 s have passed.
TEST(CfgRepository, BusyDeviceIsRetriedUntilTheDeadline) {
    static int busyOpens = 0;
    static std::time_t clock = 0;
    sys::Calls busy = sys::realCalls();
    busy.open = [](const char* path, int flags, mode_t mode) {
        if (busyOpens-- > 0) {
            errno = EBUSY;
            return -1;
        }
        return sys::realCalls().open(path, flags, mode);
    };
    busy.time = [](std::time_t*) { return clock; };
    busy.nanosleep = [](const struct timespec* pause, struct timespec*) {
        clock += pause->tv_nsec > 0 ? 1 : 0;
        return 0;
    };
    TempDir dir;
    writeFile(dir.file("device"), "");
    sys::HostEnv env = testing_support::testEnv();
    testing_support::ScopedCalls use(env, busy);
    struct Row {
        int busyOpens;
        bool opened;
        std::time_t waited;
    };
    for (const Row row : {Row{3, true, 3}, Row{100, false, 30}}) {
        SCOPED_TRACE(row.busyOpens);
        busyOpens = row.busyOpens;
        clock = 0;
        LogCapture quiet;
        std::FILE* device = CFGREPOSITORY_fopenRetry(env, dir.file("device").c_str(), "r+b");
        EXPECT_EQ(device != nullptr, row.opened);
        EXPECT_EQ(clock, row.waited);
        if (device != nullptr) std::fclose(device);
    }
}

TEST(CfgRepository, DeviceOpenFailuresStopBeingLogged) {
    TempDir dir;
    writeFile(dir.file("present"), "");
    const std::string missing = dir.file("missing");
    const sys::HostEnv env = testing_support::testEnv();
    const auto open = [&](const std::string& path) {
        std::FILE* file = CFGREPOSITORY_fopenRetry(env, path.c_str(), "r+b");
        if (file != nullptr) std::fclose(file);
        return file != nullptr;
    };
    ASSERT_TRUE(open(dir.file("present")));  // resets the count
    LogCapture log(1);
    for (int i = 0; i < 1001; ++i) EXPECT_FALSE(open(missing));
    const std::string failed = "Failed to open device file " + missing + ": errno=2";
    ASSERT_EQ(log.messages().size(), 1000u);
    EXPECT_EQ(log.messages()[998], failed);
    EXPECT_EQ(log.messages()[999], "MGT_ERROR: MGT_ERROR: Stop printing this message after 1000 times: " + failed);
    ASSERT_TRUE(open(dir.file("present")));
    log.clear();
    EXPECT_FALSE(open(missing));
    EXPECT_EQ(log.messages(), std::vector<std::string>{failed}) << "a success starts the count again";
}

}  // namespace
}  // namespace host
