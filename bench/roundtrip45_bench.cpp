// Reading a 4.5 document of about 10 MB and writing it back to memory.
// Records are built with designated initializers that name only the fields a case sets.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

#include <string>

#include <benchmark/benchmark.h>

#include "model/sanparse.h"
#include "writer/document.h"

namespace {

// A bridge shaped like a big server's: many units with segments, many devices
// with data sets, many clients with connections.
std::string bigDocument() {
    model::SANBridge bridge;
    bridge.name = "bench";
    bridge.properties.inquiry = "BENCH INQUIRY";
    for (int i = 0; i < 4000; ++i) {
        model::PhysicalDev dev;
        dev.name = "disk" + std::to_string(i);
        dev.guid = "pd-" + std::to_string(i);
        dev.inquiryString = "VENDOR  PRODUCT  0001";
        for (int s = 0; s < 4; ++s) {
            dev.nimbraPartition.segments.push_back(
                model::DynamicDiskSegment{.guid = dev.guid, .firstSector = 128u * s, .owner = "bench", .dataset = i});
        }
        bridge.physicalResources.physicalDevs.items.push_back(std::move(dev));
    }
    for (int i = 0; i < 6000; ++i) {
        model::VirtualDev dev{.id = 10000 + i, .name = "vd & " + std::to_string(i), .status = 0xFFu};
        dev.localDataSets.push_back(
            model::LocalDataSet{.id = 1, .pdevSections = {model::PDevSection{.guid = "pd-" + std::to_string(i % 4000)}}});
        dev.snapshotPolicy.emplace();
        bridge.logicalResources.sanResources.items.push_back(std::move(dev));
    }
    for (int i = 0; i < 1500; ++i) {
        model::SANClient client{.name = "host" + std::to_string(i)};
        client.virtualAdapters.push_back(model::VirtualAdapter{
            .connections = {model::VirtualDevConnection{.id = i}, model::VirtualDevConnection{.id = i + 1}}});
        bridge.sanClientList.items.push_back(std::move(client));
    }
    writer::ConfigText bytes = writer::writeDocumentToMemory(&bridge, 0);
    return std::string(bytes.text.get(), static_cast<std::size_t>(bytes.length));
}

void RoundTrip45(benchmark::State& state) {
    const std::string document = bigDocument();
    for (auto _ : state) {
        auto bridge = model::readBridge45(document.data(), document.size());
        writer::ConfigText out = writer::writeDocumentToMemory(bridge.get(), 0);
        benchmark::DoNotOptimize(out.text.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(document.size()));
    state.counters["document_MB"] = static_cast<double>(document.size()) / 1e6;
}
BENCHMARK(RoundTrip45)->Unit(benchmark::kMillisecond);

void Write45(benchmark::State& state) {
    const std::string document = bigDocument();
    auto bridge = model::readBridge45(document.data(), document.size());
    for (auto _ : state) {
        writer::ConfigText out = writer::writeDocumentToMemory(bridge.get(), 0);
        benchmark::DoNotOptimize(out.text.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(document.size()));
}
BENCHMARK(Write45)->Unit(benchmark::kMillisecond);

}  // namespace
