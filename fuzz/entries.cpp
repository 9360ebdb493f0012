#include "fuzz/entries.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "host/cfgrepository.h"
#include "legacy/sanparse_x.h"
#include "model/sanparse.h"
#include "tool/backconvert.h"
#include "tool/migrate.h"
#include "tool/upgrade_report.h"
#include "writer/document.h"
#include "xml/lexer.h"
#include "xml/log.h"

namespace fuzz {

namespace {

// A buffer whose last byte is a lone CR never ends (the source hands out LF
// forever, and that is kept), so those CRs are not part of what is fuzzed.
std::string_view withoutTrailingCR(const std::uint8_t* data, std::size_t size) {
    while (size > 0 && data[size - 1] == '\r') --size;
    return {reinterpret_cast<const char*>(data), size};
}

// Failures go to the system log under a lock in /usr; nothing to learn there.
void silenceLog() { xml::debugLevel() = -1; }

}  // namespace

void lexAll(const std::uint8_t* data, std::size_t size) noexcept {
    const std::string_view text = withoutTrailingCR(data, size);
    std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onMemory(text.data(), text.size());
    if (!lexer) return;
    try {
        for (;;) {
            xml::Token token = lexer->next();
            if (token.type() == xml::Tok::Eof) break;
            static_cast<void>(token.payloadString());
        }
    } catch (const std::bad_alloc&) {
        // an input too big for the fuzzer's memory limit: not a finding
    }
}

void convert40(const std::uint8_t* data, std::size_t size) noexcept {
    silenceLog();
    const std::string_view text = withoutTrailingCR(data, size);
    std::unique_ptr<model::SANBridge> root =
        tool::parseAndMigrate(text.data(), static_cast<std::int32_t>(text.size()), 0x0400037F, nullptr);
    if (!root) return;
    root->serializer = nullptr;  // as the tool does: the 4.5 layout
    static_cast<void>(writer::writeDocumentToMemory(root.get(), 0));
}

void reportUpgrade(const std::uint8_t* data, std::size_t size) noexcept {
    silenceLog();
    tool::ConfigText text;
    text.text = tool::ConfigText::Bytes(static_cast<char*>(std::malloc(size + 1)), writer::TextRelease{true});
    if (!text.text) return;
    std::memcpy(text.text.get(), data, size);
    text.length = static_cast<std::int32_t>(size);
    const tool::Report report = tool::reportUpgradeText(std::move(text));
    std::FILE* sink = std::fopen("/dev/null", "w");
    if (sink == nullptr) return;
    static_cast<void>(report.writeText(sink));
    static_cast<void>(report.writeJson(sink));
    std::fclose(sink);
}

void read45AndWrite(const std::uint8_t* data, std::size_t size) noexcept {
    silenceLog();
    const std::string_view text = withoutTrailingCR(data, size);
    std::unique_ptr<model::SANBridge> bridge = model::readBridge45(text.data(), text.size());
    if (!bridge) return;
    static_cast<void>(writer::writeDocumentToMemory(bridge.get(), 0));
    // And the way back, read again by the 4.0 reader.
    tool::LeftOut leftOut;
    static_cast<void>(tool::findLeftOut(*bridge, leftOut));
    model::SerializedText old;
    if (tool::serialiseDownLevel(bridge.get(), &old) != 0) return;
    static_cast<void>(legacy::readBridge40(old.text.get(), static_cast<std::size_t>(old.length)));
}

void readRepositoryDescription(const std::uint8_t* data, std::size_t size) noexcept {
    host::RepositoryConf conf;
    static_cast<void>(host::CFGREPOSITORY_parseRepositoryConf(reinterpret_cast<const char*>(data), size, &conf));
}

}  // namespace fuzz
