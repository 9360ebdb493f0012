#include "tool/backconvert.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "model/sanparse.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/run_program.h"
#include "tool/migrate.h"
#include "writer/document.h"

namespace {

std::unique_ptr<model::SANBridge> read45(const std::string& bridgeContent) {
    const std::string text = "<SANConfig><SANBridgeList><SANBridge name=\"s\">" + bridgeContent +
                             "</SANBridge></SANBridgeList></SANConfig>";
    return model::readBridge45(text.data(), text.size());
}

std::string text45(const model::SANBridge& root) {
    writer::XmlSink out = writer::XmlSink::toMemory();
    writer::writeBridge(out, root);
    const writer::ConfigText text = out.takeBuffer();
    return std::string(text.text.get(), static_cast<std::size_t>(text.length));
}

std::string downLevel(model::SANBridge& root) {
    model::SerializedText out;
    if (tool::serialiseDownLevel(&root, &out) != 0) return "(failed)";
    return std::string(out.text.get(), static_cast<std::size_t>(out.length));
}

struct Device {
    const char* name;
    std::array<std::int32_t, 4> address;
    std::vector<std::array<std::int32_t, 4>> paths;  // its SCSIAliasing
};

model::PhysicalDev device(const Device& d) {
    model::PhysicalDev dev;
    dev.name = d.name;
    dev.scsiAddress = {d.address[0], d.address[1], d.address[2], d.address[3]};
    for (const auto& p : d.paths) dev.scsiAliasing.items.push_back({{}, p[0], p[1], p[2], p[3], {}, {}});
    return dev;
}

// "0:[a@0.0.0.1/2 b@0.0.0.2/0] 3+:[]": each 4.0 adapter ('+': one added, with
// no WWPN) with its devices' addresses and the length of their SCSIAliasing.
std::string shapeOf(const legacy::SANBridge& bridge) {
    std::string shape;
    for (const legacy::PhysicalAdapter& adapter : bridge.physicalResources.physicalAdapters) {
        shape += (shape.empty() ? "" : " ") + std::to_string(adapter.number) + (adapter.WWPN ? ":[" : "+:[");
        for (const model::PhysicalDev& dev : adapter.physicalDevs) {
            const model::SCSIAddress& a = dev.scsiAddress;
            shape += (shape.back() == '[' ? "" : " ") + std::string(*dev.name) + '@' + std::to_string(a.adapter) +
                     '.' + std::to_string(a.channel) + '.' + std::to_string(a.id) + '.' + std::to_string(a.lun) +
                     '/' + std::to_string(dev.scsiAliasing.items.size());
        }
        shape += ']';
    }
    return shape;
}

TEST(BackConversion, DevicesReturnToAdapters) {
    struct Row {
        const char* rule;
        std::vector<std::int32_t> adapters;
        std::vector<Device> devices;
        const char* shape;
    };
    const Row rows[] = {
        {"each device under the adapter its address names, in list order", {0, 1},
         {{"b", {1, 0, 0, 0}, {}}, {"a", {0, 0, 0, 1}, {}}, {"c", {1, 0, 0, 2}, {}}},
         "0:[a@0.0.0.1/0] 1:[b@1.0.0.0/0 c@1.0.0.2/0]"},
        {"the first of two adapters with that number", {2, 2}, {{"a", {2, 0, 0, 0}, {}}}, "2:[a@2.0.0.0/0] 2:[]"},
        {"no adapter with that number: a new one in the sorted place", {0, 5},
         {{"a", {3, 0, 0, 0}, {}}, {"b", {3, 0, 0, 1}, {}}, {"c", {9, 0, 0, 0}, {}}},
         "0:[] 3+:[a@3.0.0.0/0 b@3.0.0.1/0] 5:[] 9+:[c@9.0.0.0/0]"},
        {"a further path: a copy with its address under its adapter", {0, 1},
         {{"a", {0, 0, 0, 1}, {{0, 0, 0, 1}, {1, 0, 2, 1}}}}, "0:[a@0.0.0.1/2] 1:[a@1.0.2.1/2]"},
        {"the device's own address and a repeated path are no further paths", {0, 1},
         {{"a", {0, 0, 0, 1}, {{0, 0, 0, 1}, {0, 0, 0, 1}, {1, 0, 0, 1}, {1, 0, 0, 1}}}},
         "0:[a@0.0.0.1/4] 1:[a@1.0.0.1/4]"},
        {"copies follow their device; a path to no adapter makes one", {0},
         {{"a", {0, 0, 0, 1}, {{0, 0, 0, 1}, {0, 1, 0, 1}, {4, 0, 0, 1}}}, {"b", {0, 0, 0, 2}, {}}},
         "0:[a@0.0.0.1/3 a@0.1.0.1/3 b@0.0.0.2/0] 4+:[a@4.0.0.1/3]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        model::SANBridge root;
        for (const std::int32_t number : row.adapters) {
            root.physicalResources.physicalAdapters.items.emplace_back().number = number;
            root.physicalResources.physicalAdapters.items.back().WWPN = "w";
        }
        for (const Device& d : row.devices) root.physicalResources.physicalDevs.items.push_back(device(d));
        const std::string before = text45(root);
        {
            const std::unique_ptr<tool::BackConversion> old = tool::BackConversion::of(root);
            ASSERT_NE(old, nullptr);
            EXPECT_EQ(shapeOf(old->bridge()), row.shape);
        }
        EXPECT_EQ(text45(root), before) << "everything given back";
    }
}

// What a downgrade leaves out, and what the 4.0 document says instead.
TEST(BackConversion, LeftOutCounts) {
    struct Row {
        const char* rule;
        const char* bridge45;
        const char* summary;
        const char* written;  // in the 4.0 text
        const char* second = nullptr;  // where the second one is and what it held, for a listing
    };
    const Row rows[] = {
        {"a fresh bridge: nothing", "", "", "<SANBridgeInfo/>"},
        {"4.5-only fields at the value a conversion gives: nothing",
         R"(<PhysicalResources><PhysicalAdapters><PhysicalAdapter number="1" biosWWPN="" bus="0"/></PhysicalAdapters>)"
         R"(</PhysicalResources><LogicalResources><AdaptiveResources nextID="7000001"/></LogicalResources>)"
         R"(<Properties><QlogicOption queueDepth="0"/></Properties>)"
         R"(<SANClientList><SANClient><FibreChannelProperties qos="medium"/></SANClient></SANClientList>)",
         "", R"(<PhysicalAdapter number="1" channels="0" info="")"},
        {"4.5-only attributes with values",
         R"(<PhysicalResources><PhysicalDevs><PhysicalDev lunType="3"/><PhysicalDev lunType="4"/></PhysicalDevs>)"
         R"(</PhysicalResources><SANClientList><SANClient><FibreChannelProperties qos="high"/></SANClient>)"
         R"(</SANClientList>)",
         "2 lunType attributes, 1 qos attribute", R"(connectionType="" owner="">)",
         "SANBridge/PhysicalResources/PhysicalDevs/PhysicalDev[2] 4"},
        {"4.5-only elements, each one present or with content",
         R"(<PhysicalResources><BlockDevices><BlockDevice devName="a"/><BlockDevice devName="b"/></BlockDevices>)"
         R"(</PhysicalResources><Properties><QlogicOption queueDepth="32"/></Properties>)"
         R"(<LogicalResources><AdaptiveResources nextID="5"/><SANResources><VirtualDev id="1">)"
         R"(<WormPolicy unlockMethod="unlock"/></VirtualDev></SANResources></LogicalResources>)"
         R"(<SANBridgeInfo><InfoItem name="i"/></SANBridgeInfo>)",
         "1 QlogicOption element, 1 InfoItem element, 2 BlockDevice elements, 1 WormPolicy element, "
         "1 AdaptiveResources element",
         "<BlockDevices/>"},
        {"spellings 4.0 lacks: written as a 4.0 reader reads them",
         R"(<LogicalResources><SANResources><VirtualDev type="Adaptive"/></SANResources></LogicalResources>)"
         R"(<SANClientList><SANClient><ISCSIProperties><ISCSIInitiatorProperties accessType="machine"/>)"
         R"(</ISCSIProperties></SANClient></SANClientList>)",
         "1 Adaptive spelling, 1 machine spelling", R"(<ISCSIInitiatorProperties accessType="" authMethod)"},
        {"read by 4.0 but never written by it",
         R"(<LogicalResources><SANResources><VirtualDev type="Adaptive" wormEnabled="true" status="0x1F"/>)"
         R"(</SANResources></LogicalResources><FailoverPrimary quorumDiskMirror="q"/>)",
         "1 quorumDiskMirror attribute, 1 Adaptive spelling, 1 wormEnabled attribute, 1 status attribute",
         R"(<VirtualDev id="0" snapshotGroupID="0" name="" type="SAN" guid="")"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        std::unique_ptr<model::SANBridge> root = read45(row.bridge45);
        ASSERT_NE(root, nullptr);
        tool::LeftOut leftOut;
        ASSERT_TRUE(tool::findLeftOut(*root, leftOut));
        EXPECT_EQ(leftOut.summary(), row.summary);
        const std::string written = downLevel(*root);
        EXPECT_NE(written.find(row.written), std::string::npos) << written;
        if (row.second) {
            EXPECT_EQ(leftOut.items.at(1).path + " " + leftOut.items[1].value, row.second);
        }
    }
}

// 0x9001000D without an argument; else the 4.0 text, or 0x90010005 and no
// text when memory runs out on the way; the root as it was in every case.
TEST(DownLevelSerialiser, ResultsAndRunningOutOfMemory) {
    model::SANBridge empty;
    model::SerializedText out;
    out.length = 5;
    EXPECT_EQ(tool::serialiseDownLevel(nullptr, &out), 0x9001000Du);
    EXPECT_EQ(tool::serialiseDownLevel(&empty, nullptr), 0x9001000Du);
    EXPECT_EQ(out.length, 5) << "untouched when an argument is missing";

    // Disks seen through two paths: the copies allocate too.
    const std::string document = testing_support::readFile(XLATE45_SOURCE_DIR "/tests/testdata/generated40_seed3.conf");
    std::unique_ptr<model::SANBridge> root =
        tool::parseAndMigrate(document.data(), static_cast<std::int32_t>(document.size()), 0, nullptr);
    ASSERT_NE(root, nullptr);
    const std::string before = text45(*root);
    const std::string complete = downLevel(*root);
    ASSERT_TRUE(complete.starts_with("<SANConfig>\n  <SANBridgeList>\n    <SANBridge name=") &&
                complete.ends_with("\n  </SANBridgeList>\n</SANConfig>"))
        << complete;

    long runs = 0;
    for (const auto mode : {testing_support::Failing::Once, testing_support::Failing::FromThenOn}) {
        for (long n = 1;; ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            testing_support::failAllocation(n, mode);
            const std::uint32_t status = tool::serialiseDownLevel(root.get(), &out);
            const bool reached = testing_support::allocationFailed();
            testing_support::stopFailingAllocations();
            EXPECT_EQ(text45(*root), before);
            if (!reached) {
                EXPECT_EQ(status, 0u);
                EXPECT_EQ(std::string(out.text.get(), static_cast<std::size_t>(out.length)), complete);
                break;
            }
            EXPECT_TRUE(status == 0x90010005u && !out.text && out.length == 0) << status;
            if (::testing::Test::HasFailure()) return;
            ++runs;
        }
    }
    EXPECT_GT(runs, 100) << "allocations failed along the way";
}

// The text grows by realloc, outside the allocator the tests replace: a child
// whose data may not grow by the text's size writes without it.
TEST(DownLevelSerialiser, TextThatCannotBeHad) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own mappings exceed any data limit a child could set";
#else
    std::fflush(stdout);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        model::SANBridge root;
        root.physicalResources.physicalDevs.items.resize(1);
        root.physicalResources.physicalDevs.items[0].inquiryString = std::string(64 << 20, 'x');
        rlimit limit{};
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmData:")) limit.rlim_cur = (std::stoul(line.substr(7)) + 16384) << 10;
        }
        limit.rlim_max = limit.rlim_cur;
        if (limit.rlim_cur == 0 || ::setrlimit(RLIMIT_DATA, &limit) != 0) ::_exit(2);
        model::SerializedText out;
        const std::uint32_t result = tool::serialiseDownLevel(&root, &out);
        ::_exit(result == 0x90010005u && !out.text ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
#endif
}

}  // namespace
