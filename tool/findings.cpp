#include "tool/findings.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace tool {

namespace {

const char* severityName(Severity severity) {
    switch (severity) {
    case Severity::Info:
        return "info";
    case Severity::Warn:
        return "warn";
    case Severity::Stop:
        return "stop";
    }
    return "info";
}

// Length of the UTF-8 sequence at `at`, or 0 when it is not one.
std::size_t utf8Length(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    std::size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2;
    else if (lead >= 0xE0 && lead <= 0xEF)
        length = 3;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4;
    if (length == 0 || at + length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates and values past U+10FFFF do not parse as UTF-8.
    if (lead == 0xE0 && byte(at + 1) < 0xA0) return 0;
    if (lead == 0xED && byte(at + 1) > 0x9F) return 0;
    if (lead == 0xF0 && byte(at + 1) < 0x90) return 0;
    if (lead == 0xF4 && byte(at + 1) > 0x8F) return 0;
    return length;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// One insertion, deletion or substitution turns `a` into `b`.
bool oneEditApart(std::string_view a, std::string_view b) {
    if (a.size() > b.size()) std::swap(a, b);
    if (b.size() - a.size() > 1) return false;
    std::size_t head = 0;
    while (head < a.size() && a[head] == b[head]) ++head;
    if (head == a.size()) return a.size() != b.size();
    const std::size_t skip = a.size() == b.size() ? 1 : 0;
    return a.substr(head + skip) == b.substr(head + 1);
}

bool put(std::FILE* out, std::string_view text) { return std::fwrite(text.data(), 1, text.size(), out) == text.size(); }

}  // namespace

std::string jsonString(std::string_view text) {
    std::string json = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[at]);
        if (c >= 0x80) {
            const std::size_t length = utf8Length(text, at);
            if (length != 0) {
                json.append(text.substr(at, length));
                at += length;
                continue;
            }
            json += static_cast<char>(0xC0 | (c >> 6));  // the byte as a Latin-1 character
            json += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c == '"' || c == '\\') {
            json += '\\';
            json += static_cast<char>(c);
        } else if (c < 0x20 || c == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            json += escaped;
        } else {
            json += static_cast<char>(c);
        }
        ++at;
    }
    return json += '"';
}

std::string suggestName(std::string_view name, const std::vector<std::string_view>& candidates) {
    for (const std::string_view candidate : candidates) {
        if (candidate != name && (equalIgnoringCase(name, candidate) || oneEditApart(name, candidate))) {
            return std::string(candidate);
        }
    }
    return {};
}

void Report::add(Finding finding) { findings_.push_back(std::move(finding)); }

bool Report::foldInto(const std::string& foldKey) {
    if (const auto found = folded_.find(foldKey); found != folded_.end()) {
        ++findings_[found->second].count;
        return true;
    }
    folded_.emplace(foldKey, findings_.size());
    return false;
}

void Report::count(std::string group, std::string name, std::int64_t input, std::int64_t result) {
    summary_.push_back({std::move(group), std::move(name), input, result});
}

const Finding* Report::find(std::string_view kind) const noexcept {
    for (const Finding& finding : findings_) {
        if (finding.kind == kind) return &finding;
    }
    return nullptr;
}

const char* Report::verdict() const noexcept {
    Severity worst = Severity::Info;
    for (const Finding& finding : findings_) worst = std::max(worst, finding.severity);
    return worst == Severity::Stop ? "stop" : worst == Severity::Warn ? "changes" : "clean";
}

int Report::exitStatus() const noexcept {
    const std::string_view v = verdict();
    return v == "stop" ? 3 : v == "changes" ? 1 : 0;
}

bool Report::writeText(std::FILE* out) const {
    // Kinds in the order of their worst severity, then of first appearance.
    std::vector<std::string_view> kinds;
    std::map<std::string_view, std::vector<const Finding*>> byKind;
    for (const Finding& finding : findings_) {
        auto& group = byKind[finding.kind];
        if (group.empty()) kinds.push_back(finding.kind);
        group.push_back(&finding);
    }
    std::stable_sort(kinds.begin(), kinds.end(), [&](std::string_view a, std::string_view b) {
        return byKind[a].front()->severity > byKind[b].front()->severity;
    });
    bool ok = true;
    for (const std::string_view kind : kinds) {
        auto& group = byKind[kind];
        std::stable_sort(group.begin(), group.end(), [](const Finding* a, const Finding* b) {
            return (a->line == 0 ? UINT32_MAX : a->line) < (b->line == 0 ? UINT32_MAX : b->line);
        });
        ok &= std::fprintf(out, "%s %s (%zu)\n", severityName(group.front()->severity), std::string(kind).c_str(),
                           group.size()) > 0;
        for (const Finding* finding : group) {
            std::string line = finding->line != 0 ? "  line " + std::to_string(finding->line) : "  no line";
            line += "  " + finding->path + (finding->path.empty() ? "" : ": ") + finding->detail;
            if (finding->count > 1) line += " (and " + std::to_string(finding->count - 1) + " more like it)";
            ok &= put(out, line + "\n");
        }
    }
    ok &= put(out, "summary: input -> result\n");
    for (const CountRow& row : summary_) {
        const std::string name = row.group.empty() ? row.name : row.group + " " + row.name;
        ok &= std::fprintf(out, "  %-36s %8lld -> %lld\n", name.c_str(), static_cast<long long>(row.input),
                           static_cast<long long>(row.result)) > 0;
    }
    ok &= std::fprintf(out, "verdict: %s\n", verdict()) > 0;
    return ok;
}

bool Report::writeJson(std::FILE* out) const {
    bool ok = std::fprintf(out, "{\"verdict\": \"%s\", \"findings\": [", verdict()) > 0;
    for (std::size_t i = 0; i < findings_.size(); ++i) {
        const Finding& f = findings_[i];
        std::string item = i == 0 ? "\n  " : ",\n  ";
        item += "{\"kind\": " + jsonString(f.kind) + ", \"severity\": \"" + severityName(f.severity) + "\", \"line\": ";
        item += f.line != 0 ? std::to_string(f.line) : "null";
        item += ", \"path\": " + jsonString(f.path) + ", \"detail\": " + jsonString(f.detail);
        item += ", \"count\": " + std::to_string(f.count) + "}";
        ok &= put(out, item);
    }
    ok &= put(out, findings_.empty() ? "], \"summary\": {" : "\n], \"summary\": {");
    for (const bool input : {true, false}) {
        std::string side = input ? "\"input\": {" : ", \"result\": {";
        std::string openGroup;
        bool first = true;
        for (const CountRow& row : summary_) {
            if (row.group != openGroup) {
                if (!openGroup.empty()) side += "}";
                if (!row.group.empty()) {
                    side += std::string(first ? "" : ", ") + jsonString(row.group) + ": {";
                    first = true;
                }
                openGroup = row.group;
            }
            side += std::string(first ? "" : ", ") + jsonString(row.name) + ": ";
            side += std::to_string(input ? row.input : row.result);
            first = false;
        }
        if (!openGroup.empty()) side += "}";
        ok &= put(out, side + "}");
    }
    ok &= put(out, "}}\n");
    return ok;
}

}  // namespace tool
