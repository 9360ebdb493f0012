#include "host/cfgrepository.h"

#include <cstring>
#include <ctime>
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/log_capture.h"
#include "tests/support/run_program.h"

namespace host {
namespace {

using testing_support::LogCapture;
using testing_support::TempDir;
using testing_support::readFile;
using testing_support::writeFile;

constexpr std::uint64_t kSector = 512;
constexpr std::uint32_t kFirstArea = 40 * 512;  // where the test stores put their first data area
constexpr std::uint32_t kMiB = 1'048'576;
constexpr std::uint32_t kConfAllotment = 15'728'640;

std::uint64_t le(const std::string& bytes, std::size_t offset, int width) {
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(bytes.at(offset + i));
    return value;
}

void putLE(std::string& bytes, std::size_t offset, int width, std::uint64_t value) {
    for (int i = 0; i < width; ++i) bytes[offset + i] = static_cast<char>(value >> (8 * i));
}

std::string pattern(std::size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + seed) % 251);
    return bytes;
}

// A store as a formatted quorum device would hold it: description file in the
// base directory, a sparse device file, a master header with no items. Laid out
// here byte by byte, independently of the library's accessors.
class Store {
public:
    Store(std::uint32_t endingSector, int copies, const std::string& owner = "alpha") : endingSector_(endingSector) {
        writeFile(base_.file(".repository.conf"),
                  "[quorum]\nvid = 7\nendingSector = " + std::to_string(endingSector) + "\n");
        std::string header(172, '\0');
        putLE(header, 0, 2, 102);
        putLE(header, 4, 1, static_cast<std::uint64_t>(copies));
        std::memcpy(&header[6], owner.data(), owner.size());
        putLE(header, 148, 4, 512);
        putLE(header, 156, 4, kFirstArea);
        putLE(header, 168, 4, 512);
        const int fd = ::open(device().c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        EXPECT_EQ(::ftruncate(fd, static_cast<off_t>((endingSector + 1) * kSector)), 0);
        EXPECT_EQ(::pwrite(fd, header.data(), header.size(), 0), 172);
        ::close(fd);
        setRepositoryDeviceDir(devices_.path().c_str());
        setRepositoryNodeName("alpha");
    }
    ~Store() {
        setRepositoryDeviceDir(nullptr);
        setRepositoryNodeName(nullptr);
    }

    const std::string& base() const { return base_.path(); }
    std::string device() const { return devices_.file("__quorum7__"); }
    std::string source(const std::string& name, const std::string& bytes) const {
        const std::string path = work_.file(name);
        writeFile(path, bytes);
        return path;
    }
    std::string work(const std::string& name) const { return work_.file(name); }
    std::string image() const { return readFile(device()); }
    std::string bytesAt(std::uint64_t offset, std::size_t size) const { return image().substr(offset, size); }
    std::string master() const { return bytesAt(0, 172); }
    std::string item(int index) const { return bytesAt((1 + index) * kSector, 172); }
    std::uint64_t sizeBytes() const { return (endingSector_ + 1) * kSector; }
    void poke(std::uint64_t offset, const std::string& bytes) const {
        const int fd = ::open(device().c_str(), O_RDWR);
        EXPECT_EQ(::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)),
                  static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }

private:
    TempDir base_;
    TempDir devices_;
    TempDir work_;
    std::uint32_t endingSector_;
};

std::string itemName(const std::string& item) { return std::string(item.c_str(), ::strnlen(item.c_str(), 128)); }

TEST(CfgRepository, BaseWithoutDescriptionIsNoStore) {
    TempDir base;
    TempDir work;
    writeFile(work.file("src"), "data");
    LogCapture log(1);
    EXPECT_EQ(CFGREPOSITORY_addFileAs(base.path().c_str(), work.file("src").c_str(), "hostlist", nullptr), 0);
    EXPECT_TRUE(log.has("file \"" + base.path() + "/.repository.conf\" does not exist"));
    EXPECT_TRUE(std::filesystem::is_empty(base.path()));
}

TEST(CfgRepository, DescriptionFile) {
    struct Row {
        const char* why;
        const char* text;
        int result;
        int vid;
        std::uint32_t endingSector;
    };
    const Row rows[] = {
        {"section headers are passed over", "[quorum]\nvid = 7\nendingSector = 400\n", 0, 7, 400},
        {"keys in any case, any order", "ENDINGSECTOR = 4294967295\nVid = 12\n", 0, 12, 4294967295u},
        {"a key needs spaces round '='", "vid=7\nendingSector = 400\n", -1, 0, 0},
        {"endingSector missing", "vid = 7\n", -1, 0, 0},
        {"the first of a key wins", "vid = 3\nvid = 4\nendingSector = 9\nvid = 5\n", 0, 4, 9},
        {"lines are read 1023 bytes at a time",
         "vid = 7\n# " "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "ccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc"
         "cccccccccccccccccccccccccccccccccccccccccccccccccccccccccc" "endingSector = 5\n",
         0, 7, 5},
        {"no line end at the end", "vid = 7\nendingSector = 400", 0, 7, 400},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        TempDir base;
        writeFile(base.file(".repository.conf"), row.text);
        RepositoryConf conf;
        EXPECT_EQ(CFGREPOSITORY_getRepositoryConf(base.path().c_str(), &conf), row.result);
        if (row.result == 0) {
            EXPECT_EQ(conf.vid, row.vid);
            EXPECT_EQ(conf.endingSector, row.endingSector);
        }
        // The same text in memory reads the same.
        RepositoryConf inMemory;
        EXPECT_EQ(CFGREPOSITORY_parseRepositoryConf(row.text, std::strlen(row.text), &inMemory), row.result);
        EXPECT_EQ(inMemory.vid, conf.vid);
        EXPECT_EQ(inMemory.endingSector, conf.endingSector);
    }
    RepositoryConf untouched;
    EXPECT_EQ(CFGREPOSITORY_parseRepositoryConf("", 0, &untouched), -1);
    const std::string withNul("vid = 7\0 x\nendingSector = 1\n", 28);
    EXPECT_EQ(CFGREPOSITORY_parseRepositoryConf(withNul.data(), withNul.size(), &untouched), 0)
        << "a NUL ends the text of its line only";
    EXPECT_EQ(untouched.endingSector, 1u);
    TempDir empty;
    RepositoryConf conf;
    EXPECT_EQ(CFGREPOSITORY_getRepositoryConf(empty.path().c_str(), &conf), -5);
}

TEST(CfgRepository, UnusableStoreFailsAndChangesNothing) {
    struct Row {
        const char* why;
        const char* description;  // null: the store's own
        std::function<void(const Store&)> spoil;
        std::function<std::string(const Store&)> message;  // "": no message expected
    };
    const auto none = [](const Store&) {};
    const Row rows[] = {
        {"vid missing", "endingSector = 400\n", none,
         [](const Store& s) {
             return "MGT_ERROR: Failed to get info from file \"" + s.base() +
                    "/.repository.conf\", vid =-1, endingSector = 400";
         }},
        {"vid below 1", "vid = 0\nendingSector = 400\n", none, [](const Store&) { return std::string(); }},
        {"no such device", "vid = 8\nendingSector = 400\n", none,
         [](const Store& s) {
             std::string path = s.device();
             path.replace(path.rfind("7"), 1, "8");
             return "raw file=\"" + path + "\" does not exist";
         }},
        {"other format version", nullptr, [](const Store& s) { s.poke(0, std::string("\x65\x00", 2)); },
         [](const Store&) { return std::string("MGT_ERROR: version number do not match, should be 102, got 101"); }},
        {"device shorter than the header", nullptr,
         [](const Store& s) { ASSERT_EQ(::truncate(s.device().c_str(), 100), 0); },
         [](const Store&) { return std::string("MGT_ERROR: Read disk failed while getting master header, vid=7."); }},
        {"item table unreadable", nullptr,
         [](const Store& s) {
             s.poke(2, std::string("\x03\x00", 2));
             ASSERT_EQ(::truncate(s.device().c_str(), 1024), 0);
         },
         [](const Store& s) {
             return "MGT_ERROR: Read disk failed for guid=\"" + s.device() +
                    "\", sector=2, size=172. Filename=\"hostlist\".";
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(400, 1);
        if (row.description != nullptr) writeFile(store.base() + "/.repository.conf", row.description);
        row.spoil(store);
        const std::string before = store.image();
        const std::string src = store.source("src", "data");
        LogCapture log;
        EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), -1);
        const std::string expected = row.message(store);
        if (expected.empty()) EXPECT_TRUE(log.messages().empty());
        else EXPECT_TRUE(log.has(expected)) << ::testing::PrintToString(log.messages());
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
        {1300, 0, kFirstArea, kFirstArea + kMiB},               // a new area for every new slot
        {700, 1, kFirstArea + kMiB, kFirstArea + 2 * kMiB},
        {kMiB, 2, kFirstArea + 2 * kMiB, kFirstArea + 3 * kMiB},  // exactly the allotted space
        {0, 0, kFirstArea, kFirstArea + 3 * kMiB},              // back to slot 0, which keeps its area
    };
    std::string slotData[3];
    unsigned seed = 1;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.size);
        const std::string data = pattern(row.size, seed++);
        const std::string src = store.source("hostlist.tmp", data);
        const std::time_t before = std::time(nullptr);
        ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), 0);
        slotData[row.slot] = data;

        const std::string master = store.master();
        EXPECT_EQ(le(master, 0, 2), 102u);
        EXPECT_EQ(le(master, 2, 2), 1u) << "item count";
        EXPECT_EQ(le(master, 4, 1), 3u) << "copies";
        EXPECT_STREQ(master.c_str() + 6, "alpha") << "owner";
        EXPECT_EQ(le(master, 148, 4), 512u + 512u) << "base + 512 x items";
        EXPECT_EQ(le(master, 156, 4), row.nextFree);
        EXPECT_GE(static_cast<std::time_t>(le(master, 160, 8)), before);
        EXPECT_LE(static_cast<std::time_t>(le(master, 160, 8)), std::time(nullptr));
        EXPECT_EQ(le(master, 168, 4), 512u);

        const std::string item = store.item(0);
        EXPECT_EQ(item.substr(0, 128), "hostlist" + std::string(120, '\0'));
        EXPECT_EQ(le(item, 128, 1), 3u) << "copies";
        EXPECT_EQ(le(item, 129, 1), static_cast<std::uint64_t>(row.slot)) << "last written";
        EXPECT_EQ(le(item, 130, 1), 0u) << "bad slots";
        EXPECT_EQ(le(item, 131, 1), 0u) << "index";
        EXPECT_EQ(le(item, 132, 4), row.size) << "stored size";
        EXPECT_EQ(le(item, 136, 4), kMiB) << "allotted";
        EXPECT_EQ(le(item, 140 + 4 * row.slot, 4), row.slotOffset);

        // Whole sectors: the data, then zeros to the sector's end.
        const std::size_t padded = (row.size + kSector - 1) / kSector * kSector;
        EXPECT_EQ(store.bytesAt(row.slotOffset, padded), data + std::string(padded - row.size, '\0'));
    }
    for (int slot = 1; slot < 3; ++slot) {
        SCOPED_TRACE(slot);
        const std::uint32_t offset = static_cast<std::uint32_t>(le(store.item(0), 140 + 4 * slot, 4));
        EXPECT_EQ(store.bytesAt(offset, slotData[slot].size()), slotData[slot]) << "older copies stay";
    }
}

TEST(CfgRepository, SlotChoice) {
    struct Row {
        const char* why;
        std::uint8_t copies;
        std::uint8_t last;
        std::uint8_t bad;
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
        ASSERT_EQ(CFGREPOSITORY_getRepository(store.base().c_str(), &repository), 0);
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

TEST(CfgRepository, BadSlotOnDeviceIsSkipped) {
    Store store(40 + 3 * 2048 + 8, 3);
    const std::string src = store.source("src", "first");
    ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), 0);
    store.poke(512 + 130, std::string(1, '\x02'));  // slot 1 gone bad
    ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), 0);
    const std::string item = store.item(0);
    EXPECT_EQ(le(item, 129, 1), 2u);
    EXPECT_EQ(le(item, 144, 4), 0u) << "the bad slot got no area";
    EXPECT_EQ(le(item, 148, 4), kFirstArea + kMiB);
}

TEST(CfgRepository, ThirtyNinthItemIsRefused) {
    Store store(40 + 39 * 2 + 8, 1);
    const std::string src = store.source("src", "x");
    char name[32];
    for (int i = 1; i <= 38; ++i) {
        std::snprintf(name, sizeof name, "f%02d.testfile", i);
        ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), name, nullptr), 0) << name;
    }
    EXPECT_EQ(le(store.master(), 2, 2), 38u);
    EXPECT_EQ(itemName(store.item(37)), "f38.testfile");
    EXPECT_EQ(le(store.item(37), 136, 4), 1024u);
    const std::string before = store.image();

    LogCapture log;
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "f39.testfile", nullptr), -1);
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"MGT_ERROR: Not enough space to add new item \"f39.testfile\" to master "
                                        "header, maximum item allowed=38, current item count=38",
                                        "CFGREPOSITORY_addItemSection failed for \"f39.testfile\"."}));
    EXPECT_EQ(store.image(), before);
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "f01.testfile", nullptr), 0)
        << "a known name still goes in";
}

TEST(CfgRepository, NoRoomForANewArea) {
    Store store(140, 1);
    const std::string src = store.source("src", "x");
    const std::string before = store.image();
    LogCapture log;
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), -1);
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"MGT_ERROR: Not enough space to copy \"" + src +
                                            "\"! file_offset(20480) max_file_size(1048576) repository_size(72192)",
                                        "CFGREPOSITORY_depositFile failed for \"" + src + "\" as \"hostlist\"."}));
    EXPECT_EQ(store.image(), before);
}

// Unpacks gzip data with the system's gzip.
std::string gunzip(const std::string& packed, const Store& store) {
    const std::string path = store.work("packed.gz");
    writeFile(path, packed);
    const std::string out = store.work("unpacked");
    EXPECT_EQ(std::system(("/bin/gzip -dc " + path + " > " + out).c_str()), 0);
    return readFile(out);
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
        ASSERT_EQ(CFGREPOSITORY_gzipFile(src.c_str()), 0);
        EXPECT_EQ(::system(("/bin/gzip -dc " + src + ".gz | cmp -s - " + src).c_str()), 0);
        EXPECT_EQ(readFile(dir.file("victim")), "keep me");
        EXPECT_NE(::access(dir.file("nowhere").c_str(), F_OK), 0);
        std::filesystem::remove(src + ".gz");
    }
}

TEST(CfgRepository, OversizedMainConfigIsCompressedAndCopiedToOrg) {
    Store store(40 + 2 * 30720 + 8, 1);
    std::string text;
    while (text.size() < 15'728'641) text += "<PhysicalDev name=\"disk\" guid=\"0123\"/>\n";
    text.resize(15'728'641);
    const std::string src = store.source("nimbra.conf_to_Be_1", text);

    LogCapture log(1);
    ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "nimbra.conf", nullptr), 0);
    EXPECT_TRUE(log.has("File \"" + src +
                        "\" size = 15728641 is too big for the allotted space 15728640 to copy, compress and try again"));
    EXPECT_TRUE(log.has("can_update_nimbra_conf_org = 1"));
    EXPECT_NE(::access((src + ".gz").c_str(), F_OK), 0) << "the compressed file is not left behind";

    const std::string item = store.item(0);
    const std::uint64_t stored = le(item, 132, 4);
    ASSERT_GT(stored, 0u);
    ASSERT_LT(stored, kConfAllotment);
    const std::string packed = store.bytesAt(kFirstArea, stored);
    EXPECT_EQ(packed.substr(0, 2), "\x1f\x8b");
    EXPECT_TRUE(gunzip(packed, store) == text) << "the slot holds the file, compressed";

    const std::string org = store.item(1);
    EXPECT_EQ(itemName(org), "nimbra.conf.org");
    EXPECT_EQ(le(org, 131, 1), 1u);
    EXPECT_EQ(le(org, 136, 4), kConfAllotment);
    EXPECT_EQ(le(org, 132, 4), stored);
    EXPECT_EQ(le(org, 140, 4), kFirstArea + kConfAllotment);
    EXPECT_TRUE(store.bytesAt(kFirstArea + kConfAllotment, stored) == packed) << "the .org copy is the same bytes";
    EXPECT_EQ(le(store.master(), 2, 2), 2u);
    EXPECT_EQ(le(store.master(), 156, 4), kFirstArea + 2 * kConfAllotment);
}

TEST(CfgRepository, OrgCopyFollowsOnlyThisServersMainConfig) {
    struct Row {
        const char* why;
        const char* saveAs;
        const char* owner;
        std::vector<std::string> items;
    };
    const Row rows[] = {
        {"no configuration owner", "nimbra.conf", nullptr, {"nimbra.conf", "nimbra.conf.org"}},
        {"owned by this node", "nimbra.conf", "alpha", {"nimbra.conf", "nimbra.conf.org"}},
        {"the partner's configuration", "nimbra.conf", "beta", {"nimbra.conf"}},
        {"a path ending in the name", "etc/alpha/nimbra.conf", nullptr, {"etc/alpha/nimbra.conf", "etc/alpha/nimbra.conf.org"}},
        {"not the main configuration", "nimbra.dat", nullptr, {"nimbra.dat"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(40 + 2 * 30720 + 8, 1);
        const std::string data = pattern(3000, 4);
        const std::string src = store.source("src", data);
        ASSERT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), row.saveAs, row.owner), 0);
        ASSERT_EQ(le(store.master(), 2, 2), row.items.size());
        for (std::size_t i = 0; i < row.items.size(); ++i) {
            const std::string item = store.item(static_cast<int>(i));
            EXPECT_EQ(itemName(item), row.items[i]);
            EXPECT_EQ(store.bytesAt(le(item, 140, 4), data.size()), data);
        }
    }
}

TEST(CfgRepository, OrgNameThatWouldBeCutAborts) {
    Store store(40 + 2 * 30720 + 8, 1);
    const std::string saveAs = std::string(113, 'x') + "nimbra.conf";  // 124 + ".org" does not fit in 127
    const std::string src = store.source("src", "data");
    LogCapture log;
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), saveAs.c_str(), nullptr), -1);
    EXPECT_EQ(log.messages(), std::vector<std::string>{"nimbra.conf.org filename truncation, abort!"});
    EXPECT_EQ(le(store.master(), 2, 2), 1u) << "the file itself went in";
    EXPECT_EQ(itemName(store.item(0)), saveAs);
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
        Store store(40 + 2 * 30720 + 8, 1, row.storeOwner);
        const std::string src = store.source("src", "data");
        const std::string before = store.image();
        LogCapture log(1);
        EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), row.saveAs, nullptr), 0);
        for (const std::string& message : row.messages) EXPECT_TRUE(log.has(message)) << message;
        if (row.deposited) {
            EXPECT_EQ(itemName(store.item(0)), row.saveAs);
        } else {
            EXPECT_EQ(store.image(), before);
            EXPECT_TRUE(log.has("Exit - filename = \"" + src + "\", ret=0"));
        }
    }
}

TEST(CfgRepository, CopyOfTheWrongSizeMarksTheSlotBad) {
    Store store(40 + 2 * 2048 + 8, 2);
    // The kernel reports size 0 for this file but reads out its text.
    const char* shrinking = "/proc/self/status";
    LogCapture log;
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), shrinking, "hostlist", nullptr), -1);
    ASSERT_GE(log.messages().size(), 2u);
    const std::string& mark = log.messages()[0];
    EXPECT_EQ(mark.rfind("MGT_ERROR: Mark copy index 0 as bad because file size in repository (", 0), 0u) << mark;
    EXPECT_NE(mark.find(") does not match actual file size (0). Filename=\"/proc/self/status\"."), std::string::npos)
        << mark;
    EXPECT_EQ(log.messages()[1], "MGT_ERROR: QUORUMREPOSIT_copyFile failed for \"/proc/self/status\"!");

    // The mark and the slot's area are on the device; the next copy goes elsewhere.
    EXPECT_EQ(le(store.item(0), 130, 1), 0x01u);
    EXPECT_EQ(le(store.item(0), 129, 1), 0xFFu);
    EXPECT_EQ(le(store.master(), 156, 4), kFirstArea + kMiB);
    const std::string src = store.source("src", "good");
    EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "hostlist", nullptr), 0);
    EXPECT_EQ(le(store.item(0), 129, 1), 1u);
    EXPECT_EQ(store.bytesAt(kFirstArea + kMiB, 4), "good");
}

TEST(CfgRepository, SourceProblems) {
    struct Row {
        const char* why;
        std::size_t size;  // 0: no source file at all
        const char* prefix;  // of the message, after the source's path
        const char* suffix;
    };
    const Row rows[] = {
        {"missing source", 0, "\" does not exist.", ""},
        {"still too big when compressed", 4096, ".gz\" size = ",
         " is still too big for the allotted space 1024 to copy, abort copy"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        Store store(400, 1);
        const std::string src = store.work("src");
        if (row.size > 0) {
            std::mt19937 random(5);
            std::string noise(row.size, '\0');
            for (char& c : noise) c = static_cast<char>(random());  // gzip cannot shrink it
            writeFile(src, noise);
        }
        LogCapture log;
        EXPECT_EQ(CFGREPOSITORY_addFileAs(store.base().c_str(), src.c_str(), "x.testfile", nullptr), -1);
        const std::string prefix = (row.size > 0 ? "Compressed file \"" : "File \"") + src + row.prefix;
        const std::string suffix = row.suffix;
        EXPECT_TRUE(std::any_of(log.messages().begin(), log.messages().end(), [&](const std::string& m) {
            return m.rfind(prefix, 0) == 0 && m.size() >= prefix.size() + suffix.size() &&
                   m.compare(m.size() - suffix.size(), suffix.size(), suffix) == 0;
        })) << ::testing::PrintToString(log.messages());
        EXPECT_TRUE(log.has("MGT_ERROR: QUORUMREPOSIT_copyFile failed for \"" + src + "\"!"));
        EXPECT_NE(::access((src + ".gz").c_str(), F_OK), 0);

        std::unique_ptr<Repository> repository;
        ASSERT_EQ(CFGREPOSITORY_getRepository(store.base().c_str(), &repository), 0);
        MasterHeader master;
        EXPECT_EQ(CFGREPOSITORY_getMasterHeader(repository.get(), &master), 0) << "the store stays readable";
        EXPECT_EQ(le(store.item(0), 129, 1), 0xFFu) << "nothing counts as written";
    }
}

TEST(CfgRepository, DeviceOpenFailuresStopBeingLogged) {
    TempDir dir;
    writeFile(dir.file("present"), "");
    const std::string missing = dir.file("missing");
    std::FILE* present = CFGREPOSITORY_fopenRetry(dir.file("present").c_str(), "r+b");  // resets the count
    ASSERT_NE(present, nullptr);
    std::fclose(present);

    LogCapture log(1);
    for (int i = 0; i < 1001; ++i) EXPECT_EQ(CFGREPOSITORY_fopenRetry(missing.c_str(), "r+b"), nullptr);
    const std::string failed = "Failed to open device file " + missing + ": errno=2";
    ASSERT_EQ(log.messages().size(), 1000u);
    EXPECT_EQ(log.messages()[0], failed);
    EXPECT_EQ(log.messages()[998], failed);
    EXPECT_EQ(log.messages()[999],
              "MGT_ERROR: MGT_ERROR: Stop printing this message after 1000 times: " + failed);

    present = CFGREPOSITORY_fopenRetry(dir.file("present").c_str(), "r+b");
    ASSERT_NE(present, nullptr);
    std::fclose(present);
    log.clear();
    EXPECT_EQ(CFGREPOSITORY_fopenRetry(missing.c_str(), "r+b"), nullptr);
    EXPECT_EQ(log.messages(), std::vector<std::string>{failed}) << "a success starts the count again";
}

TEST(CfgRepository, ArgumentChecks) {
    Store store(400, 1);
    std::unique_ptr<Repository> repository;
    ASSERT_EQ(CFGREPOSITORY_getRepository(store.base().c_str(), &repository), 0);
    char buffer[512] = {};
    struct Row {
        const char* why;
        std::function<int()> call;
        const char* message;
    };
    const Row rows[] = {
        {"read without a store", [&] { return CFGREPOSITORY_readDisk(nullptr, 0, buffer, 1); }, "MGT_ERROR: Bad input."},
        {"read without a buffer", [&] { return CFGREPOSITORY_readDisk(repository.get(), 0, nullptr, 1); },
         "MGT_ERROR: Bad input."},
        {"write of nothing", [&] { return CFGREPOSITORY_writeDisk(repository.get(), 0, buffer, 0); },
         "MGT_ERROR: Bad input."},
        {"no base directory", [] { return CFGREPOSITORY_addFileAs(nullptr, "f", nullptr, nullptr); },
         "MGT_ERROR: base_dir cannot be NULL"},
        {"no file name", [&] { return CFGREPOSITORY_addFileAs(store.base().c_str(), nullptr, nullptr, nullptr); },
         "MGT_ERROR: filename cannot be NULL"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        LogCapture log;
        EXPECT_EQ(row.call(), -1);
        EXPECT_EQ(log.messages(), std::vector<std::string>{row.message});
    }
}

}  // namespace
}  // namespace host
