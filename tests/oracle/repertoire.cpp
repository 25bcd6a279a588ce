#include "oracle/repertoire.h"

#include "cvlib/engine.h"
#include "multi/table.h"

#include <algorithm>
#include <bitset>
#include <map>
#include <set>

namespace qbgl_test {

using qbgl::compiler::CODE_LIMIT;

namespace {

constexpr char SHIFT_OUT = 0x0E, SHIFT_IN = 0x0F;
constexpr size_t CODE_COUNT = CODE_LIMIT - 0x800; // without surrogates
constexpr size_t FEW_LEADS = 4;                   // of sequences of three bytes; more have UTF-8 (which iconv writes whole) only

bool is_shift(const Sequence &bytes) { return bytes == Sequence({&SHIFT_OUT, 1}) || bytes == Sequence({&SHIFT_IN, 1}); }
Sequence in_shifts(const Sequence &bytes) { return Sequence(SHIFT_OUT + bytes.text() + SHIFT_IN); }

template <class Function>
void walk(const gl_multi &table, const qbgl::MultiNode &node, const std::string &prefix, Function function) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto b = static_cast<uint8_t>(byte);
        if (node.flags[b] == qbgl::FLAG_CHILD) walk(table, *child_of(node, b), prefix + static_cast<char>(b), function);
        if (node.flags[b] == qbgl::FLAG_END) function(Sequence(prefix + static_cast<char>(b)));
    }
}

class Collector {
  public:
    Collector(const Reference &source, const std::vector<Sequence> &table) : source_(source), own_(table) {}

    Repertoire collect() {
        if (source_.unit() == 1 && !source_.doubles_only()) {
            std::vector<Sequence> singles;
            for (unsigned byte = 0; byte < 256; ++byte) singles.push_back(Sequence::big_endian(byte, 1));
            add(singles, true);
        }
        const std::vector<Sequence> written = ask_written();
        if (source_.unit() == 1) {
            add_pairs();
            add_triples(written);
        }
        add(written, false);
        add(own_, false);
        return build();
    }

  private:
    bool is_own(const Sequence &bytes) const { return std::binary_search(own_.begin(), own_.end(), bytes); }

    // How iconv writes every code, as far as that is one character: none that begins with another, as a base before a mark does.
    std::vector<Sequence> ask_written() const {
        static const std::string question = [] {
            std::string text;
            for (char32_t code = 0; code < CODE_LIMIT; ++code)
                if (qbgl::compiler::is_scalar_value(code)) text += Reference::utf32().frame(utf32_of(code));
            return text;
        }();
        std::vector<Sequence> result;
        for (const std::string &answer : Reference::utf32().ask(source_, question, CODE_COUNT))
            if (!answer.empty() && answer.size() <= Sequence::MAX &&
                (answer.size() == 1 || !single_[static_cast<uint8_t>(answer[0])]))
                result.emplace_back(answer);
        std::sort(result.begin(), result.end());
        result.erase(std::unique(result.begin(), result.end()), result.end());
        return result;
    }

    void add_pairs() {
        std::vector<Sequence> pairs;
        for (unsigned lead = 0; lead < 256; ++lead) {
            if (single_[lead] && !source_.stateful()) continue;
            for (unsigned trail = 0x20; trail < 256; ++trail) {
                const Sequence pair = Sequence::big_endian(lead << 8 | trail, 2);
                if (lead >= 0x20) pairs.push_back(source_.stateful() ? in_shifts(pair) : pair);
            }
        }
        add(pairs, true);
    }

    void add_triples(const std::vector<Sequence> &written) {
        std::set<unsigned> leads;
        for (const auto &list : {written, own_})
            for (const Sequence &bytes : list)
                if (bytes.length == 3) leads.insert(bytes.bytes[0]);
        if (leads.size() > FEW_LEADS) return;
        std::vector<Sequence> triples;
        for (const unsigned lead : leads)
            for (unsigned rest = 0x2000; rest < 0x10000; ++rest)
                if ((rest & 0xFF) >= 0x20) triples.push_back(Sequence::big_endian(lead << 16 | rest, 3));
        add(triples, true);
    }

    // What iconv would answer for an invalid sequence whose first bytes it leaves out.
    std::u32string codes_of_rest(const Sequence &bytes, size_t skip) const {
        const auto known = known_.find(Sequence(bytes.text().substr(skip)));
        if (known != known_.end()) return known->second;
        std::u32string codes;
        for (size_t i = skip; i < bytes.length; ++i)
            if (const auto single = known_.find(Sequence::big_endian(bytes.bytes[i], 1)); single != known_.end())
                codes += single->second;
        return codes;
    }

    // Asks for candidates; guesses only count when the answer is their own.
    void add(const std::vector<Sequence> &candidates, bool guessed) {
        std::vector<Sequence> asked;
        std::string question;
        for (const Sequence &bytes : candidates) {
            if (items_.contains(bytes) || (source_.has_shifts() && is_shift(bytes))) continue;
            asked.push_back(bytes);
            question += source_.frame(bytes.text());
        }
        const auto answers = source_.ask(Reference::utf32(), question, asked.size());
        std::vector<std::pair<Sequence, std::u32string>> found;
        for (size_t i = 0; i < asked.size(); ++i) {
            std::u32string codes = codes_of(answers[i]);
            for (size_t skip = 1; guessed && skip < asked[i].length && !is_own(asked[i]); ++skip)
                if (codes == codes_of_rest(asked[i], skip)) codes.clear();
            if (!codes.empty()) found.emplace_back(asked[i], std::move(codes));
        }
        verify(found, 0, found.size());
        for (auto &[bytes, codes] : found) {
            if (codes.empty()) continue;
            if (bytes.length == 1) single_.set(bytes.bytes[0]);
            if (bytes.length <= 2) known_.emplace(bytes, codes);
            items_.emplace(bytes, std::move(codes));
        }
    }

    // Drops the codes of those that iconv does not take without complaint.
    void verify(std::vector<std::pair<Sequence, std::u32string>> &found, size_t begin, size_t end) const {
        std::string text;
        for (size_t i = begin; i < end; ++i) text += source_.frame(found[i].first.text());
        if (begin == end || source_.accepts(text)) return;
        if (end - begin == 1) return found[begin].second.clear();
        const size_t middle = begin + (end - begin) / 2;
        verify(found, begin, middle);
        verify(found, middle, end);
    }

    Repertoire build() {
        for (const Sequence &bytes : own_) items_.try_emplace(bytes);
        Repertoire result;
        result.items.reserve(items_.size());
        for (auto &[bytes, codes] : items_) {
            if (!codes.empty()) {
                result.question += source_.frame(bytes.text());
                ++result.question_count;
            }
            result.items.push_back({bytes, std::move(codes)});
        }
        return result;
    }

    const Reference &source_;
    const std::vector<Sequence> &own_;
    std::map<Sequence, std::u32string> items_, known_;
    std::bitset<256> single_;
};

} // namespace

std::vector<Sequence> table_characters(const gl_cv &cd) {
    const bool little_endian = cd.convert == qbgl::little_endian_unicode_source_miconv;
    std::vector<Sequence> result;
    walk(*cd.main_table, *cd.main_table->root, "", [&](const Sequence &bytes) {
        if (cd.source_stateful == 0 || !is_shift(bytes)) result.push_back(little_endian ? bytes.reversed() : bytes);
    });
    if (cd.source_stateful != 0)
        walk(*cd.shifted_table, *cd.shifted_table->root, "", [&](const Sequence &bytes) {
            if (bytes.length == 2) result.push_back(in_shifts(bytes));
        });
    std::sort(result.begin(), result.end());
    return result;
}

Repertoire repertoire_of(const Reference &source, const std::vector<Sequence> &table) { return Collector(source, table).collect(); }

} // namespace qbgl_test
