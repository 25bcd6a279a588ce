#include "oracle/differences.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qbgl_test {

std::string Difference::text() const {
    return fmt::format("{} {} {} {} {}: ours {}, {} {}", source, target, codes.empty() ? "-" : codes, bytes, kind,
                       ours.empty() ? "none" : ours, peer, theirs.empty() ? "none" : theirs);
}

Differences::Differences(const std::filesystem::path &file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line[0] == '#') continue;
        Rule rule;
        rule.text = line;
        std::string range, reason;
        std::istringstream words(line);
        if (!(words >> rule.source >> rule.target >> range >> rule.kind >> rule.count >> std::hex >> rule.digest >> reason))
            throw std::runtime_error("malformed line: " + line);
        const size_t dash = range.find('-');
        rule.first = range.substr(0, dash);
        rule.last = range.substr(dash + 1); // without a dash, all of it
        rules_.push_back(rule);
    }
}

bool Differences::covers(const Difference &difference) {
    const auto covering = std::find_if(rules_.begin(), rules_.end(), [&](const Rule &rule) {
        const std::string &name = rule.first.starts_with("U+") ? difference.codes : difference.bytes;
        // Codes and sequences of different length stand apart.
        return (rule.source == "*" || rule.source == difference.source) &&
               (rule.target == "*" || rule.target == difference.target) && rule.kind == difference.kind &&
               name.size() == rule.first.size() && rule.first <= name && name <= rule.last;
    });
    if (covering == rules_.end()) return false;
    uint32_t digest = 2166136261u;
    for (const char byte : difference.text()) digest = (digest ^ static_cast<uint8_t>(byte)) * 16777619u;
    const std::lock_guard lock(mutex_);
    ++covering->met;
    covering->met_digest += digest;
    return true;
}

std::vector<std::string> Differences::mismatched() const {
    std::vector<std::string> result;
    for (const Rule &rule : rules_)
        if (rule.met != rule.count || rule.met_digest != rule.digest)
            result.push_back(fmt::format("{} (met {} {:08x})", rule.text, rule.met, rule.met_digest));
    return result;
}

} // namespace qbgl_test
