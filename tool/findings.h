#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// What an analysis of a conversion tells an administrator: findings, counts
// before and after, and a verdict, in words for people or as one JSON object
// for scripts. Any analysis (the upgrade, the way back) fills the same report.

namespace tool {

enum class Severity : std::uint8_t { Info, Warn, Stop };

struct Finding {
    std::string kind;  // from the fixed vocabulary, as "path-merged"
    Severity severity = Severity::Info;
    std::uint32_t line = 0;  // input line where the element or attribute starts; 0: none
    std::string path;        // the element, as "SANBridge/PhysicalResources/PhysicalAdapter[number=2]"
    std::string detail;      // for people: the old and the new value where there is one
    std::uint32_t count = 1; // occurrences folded into this one (the first is shown)
};

/// One count of the summary, in the input and in the result. `group` nests
/// it in the JSON form ("virtualDevs"); empty for a top-level count.
struct CountRow {
    std::string group;
    std::string name;
    std::int64_t input = 0;
    std::int64_t result = 0;
};

class Report {
public:
    void add(Finding finding);
    /// For what a large document repeats thousands of times: true when a
    /// finding was added under `foldKey` before, which then counts one more;
    /// false when not, and the next finding added is the one to count on.
    bool foldInto(const std::string& foldKey);
    void count(std::string group, std::string name, std::int64_t input, std::int64_t result);

    const std::vector<Finding>& findings() const noexcept { return findings_; }
    const std::vector<CountRow>& summary() const noexcept { return summary_; }
    /// The first finding of `kind`, or null.
    const Finding* find(std::string_view kind) const noexcept;
    /// "clean" (info only), "changes" (a warning) or "stop".
    const char* verdict() const noexcept;
    /// 0, 1 or 3 for the three verdicts.
    int exitStatus() const noexcept;

    /// Findings grouped by kind (most severe first, in line order within a
    /// kind), then the summary and the verdict. False when writing failed.
    bool writeText(std::FILE* out) const;
    /// {"verdict": ..., "findings": [...], "summary": {"input": {...}, "result": {...}}}
    bool writeJson(std::FILE* out) const;

private:
    std::vector<Finding> findings_;
    std::vector<CountRow> summary_;
    std::unordered_map<std::string, std::size_t> folded_;
};

/// `text` as a JSON string with its quotes: control characters escaped, and
/// bytes that are not UTF-8 taken as Latin-1, so that any input's names parse.
std::string jsonString(std::string_view text);

/// The names in `candidates` that differ from `name` by case alone or by one
/// edit (insertion, deletion or substitution), for "did you mean".
std::string suggestName(std::string_view name, const std::vector<std::string_view>& candidates);

}  // namespace tool
