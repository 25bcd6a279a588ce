#include "oracle/differences.h"

#include <fmt/format.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qbgl_test {

namespace {

// Codes and sequences of different length stand apart.
bool is_between(const std::string &text, const std::string &first, const std::string &last) {
    return text.size() == first.size() && first <= text && text <= last;
}

uint32_t digest_of(const std::string &text) {
    uint32_t digest = 2166136261u;
    for (const char byte : text) digest = (digest ^ static_cast<uint8_t>(byte)) * 16777619u;
    return digest;
}

} // namespace

std::string Difference::text() const {
    return fmt::format("{} {} {} {} {}: ours {}, iconv {}", source, target, codes.empty() ? "-" : codes, bytes, kind,
                       ours.empty() ? "none" : ours, iconvs.empty() ? "none" : iconvs);
}

Differences::Differences(const std::filesystem::path &file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line[0] == '#') continue;
        Rule &rule = rules_.emplace_back();
        rule.text = line;
        std::string range, reason;
        std::istringstream words(line);
        if (!(words >> rule.source >> rule.target >> range >> rule.kind >> rule.count >> std::hex >> rule.digest >> reason))
            throw std::runtime_error("malformed line: " + line);
        const size_t dash = range.find('-');
        rule.first = range.substr(0, dash);
        rule.last = dash == std::string::npos ? rule.first : range.substr(dash + 1);
    }
}

bool Differences::covers(const Difference &difference) {
    const auto is_meant = [](const std::string &pattern, const std::string &name) { return pattern == "*" || pattern == name; };
    for (Rule &rule : rules_) {
        if (!is_meant(rule.source, difference.source) || !is_meant(rule.target, difference.target) || rule.kind != difference.kind)
            continue;
        const std::string &name = rule.first.starts_with("U+") ? difference.codes : difference.bytes;
        if (!is_between(name, rule.first, rule.last)) continue;
        ++rule.met;
        rule.met_digest += digest_of(difference.text());
        return true;
    }
    return false;
}

std::vector<std::string> Differences::mismatched() const {
    std::vector<std::string> result;
    for (const Rule &rule : rules_)
        if (rule.met != rule.count || rule.met_digest != rule.digest)
            result.push_back(fmt::format("{} (met {} {:08x})", rule.text, rule.met.load(), rule.met_digest.load()));
    return result;
}

} // namespace qbgl_test
