#include "oracle/repertoire.h"

#include "cvlib/engine.h"
#include "multi/table.h"
#include "unicode/form.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>

namespace qbgl_test {

using qbgl::compiler::CODE_LIMIT;

namespace {

constexpr char SHIFT_OUT = 0x0E, SHIFT_IN = 0x0F;
constexpr size_t FEW_LEADS = 4; // of sequences of three bytes; more have UTF-8 (which iconv writes whole) only

bool is_shift(const Sequence &bytes) { return bytes == Sequence({&SHIFT_OUT, 1}) || bytes == Sequence({&SHIFT_IN, 1}); }
Sequence in_shifts(const Sequence &bytes) { return Sequence(SHIFT_OUT + bytes.text() + SHIFT_IN); }

void collect(const qbgl::MultiNode &node, const std::string &prefix, std::vector<Sequence> &sequences) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto b = static_cast<uint8_t>(byte);
        if (node.flags[b] == qbgl::FLAG_CHILD) collect(*child_of(node, b), prefix + static_cast<char>(b), sequences);
        if (node.flags[b] == qbgl::FLAG_END) sequences.push_back(Sequence(prefix + static_cast<char>(b)));
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
        const std::vector<Sequence> written = written_by_iconv();
        if (source_.unit() == 1) {
            add(pairs(), true);
            add(triples(written), true);
        }
        add(written, false);
        add(own_, false);
        for (const Sequence &bytes : own_) items_.try_emplace(bytes);
        return {items_.begin(), items_.end()};
    }

  private:
    using Item = Repertoire::value_type;

    bool is_single(unsigned byte) const { return items_.contains(Sequence::big_endian(byte, 1)); }

    // How iconv writes every code, as far as that is one character: none that begins with another, as a base before a mark does.
    std::vector<Sequence> written_by_iconv() const {
        static const std::vector<std::string> codes = [] {
            std::vector<std::string> all;
            for (char32_t code = 0; code < CODE_LIMIT; ++code)
                if (qbgl::compiler::is_scalar_value(code)) all.push_back(utf32_of(code));
            return all;
        }();
        std::set<Sequence> result;
        for (const std::string &answer : Reference::utf32().ask(source_, codes))
            if (!answer.empty() && answer.size() <= Sequence::MAX &&
                (answer.size() == 1 || !is_single(static_cast<uint8_t>(answer[0]))))
                result.emplace(answer);
        return {result.begin(), result.end()};
    }

    std::vector<Sequence> pairs() const {
        std::vector<Sequence> result;
        for (unsigned lead = 0x20; lead < 256; ++lead)
            for (unsigned trail = 0x20; trail < 256; ++trail) {
                const Sequence pair = Sequence::big_endian(lead << 8 | trail, 2);
                if (source_.stateful())
                    result.push_back(in_shifts(pair));
                else if (!is_single(lead))
                    result.push_back(pair);
            }
        return result;
    }

    std::vector<Sequence> triples(const std::vector<Sequence> &written) const {
        std::set<unsigned> leads;
        for (const auto &list : {written, own_})
            for (const Sequence &bytes : list)
                if (bytes.length == 3) leads.insert(bytes.bytes[0]);
        std::vector<Sequence> result;
        for (const unsigned lead : leads)
            for (unsigned rest = 0x2000; rest < 0x10000 && leads.size() <= FEW_LEADS; ++rest)
                if ((rest & 0xFF) >= 0x20) result.push_back(Sequence::big_endian(lead << 16 | rest, 3));
        return result;
    }

    // What iconv would answer for an invalid sequence whose first bytes it leaves out.
    std::u32string codes_of_rest(const Sequence &bytes, size_t skip) const {
        const auto codes_at = [&](size_t at, size_t count) {
            const auto found = items_.find(Sequence(bytes.text().substr(at, count)));
            return found != items_.end() ? found->second : std::u32string();
        };
        std::u32string codes = codes_at(skip, Sequence::MAX);
        for (size_t i = codes.empty() ? skip : bytes.length; i < bytes.length; ++i) codes += codes_at(i, 1);
        return codes;
    }

    // Asks for candidates; guesses only count when the answer is their own.
    void add(const std::vector<Sequence> &candidates, bool guessed) {
        std::vector<Item> asked;
        for (const Sequence &bytes : candidates)
            if (!items_.contains(bytes) && !(source_.has_shifts() && is_shift(bytes))) asked.emplace_back(bytes, U"");
        const std::vector<std::string> answers = source_.ask(Reference::utf32(), texts_of(asked));
        for (size_t i = 0; i < asked.size(); ++i) {
            auto &[bytes, codes] = asked[i];
            codes = codes_of(answers[i]);
            const bool in_doubt = guessed && !std::binary_search(own_.begin(), own_.end(), bytes);
            for (size_t skip = 1; in_doubt && skip < bytes.length; ++skip)
                if (codes == codes_of_rest(bytes, skip)) codes.clear();
        }
        std::erase_if(asked, [](const Item &item) { return item.second.empty(); });
        take_accepted(asked);
    }

    // Leaves those out that iconv does not take without complaint.
    void take_accepted(std::span<const Item> found) {
        if (found.empty()) return;
        if (source_.accepts(texts_of(found))) {
            items_.insert(found.begin(), found.end());
        } else if (found.size() > 1) {
            take_accepted(found.first(found.size() / 2));
            take_accepted(found.subspan(found.size() / 2));
        }
    }

    static std::vector<std::string> texts_of(std::span<const Item> items) {
        std::vector<std::string> texts;
        for (const auto &[bytes, codes] : items) texts.push_back(bytes.text());
        return texts;
    }

    const Reference &source_;
    const std::vector<Sequence> &own_;
    std::map<Sequence, std::u32string> items_;
};

} // namespace

std::vector<Sequence> sequences_of(const gl_multi &table) {
    std::vector<Sequence> result;
    collect(*table.root, "", result);
    return result;
}

// All of Unicode that a form has, none for none.
static std::vector<Sequence> form_characters(qbgl::UnicodeForm form) {
    std::vector<Sequence> result;
    for (uint32_t code = 0; code < CODE_LIMIT; ++code) {
        uint8_t bytes[qbgl::LONGEST_FORM];
        const int length = form != qbgl::UnicodeForm::NONE && qbgl::is_scalar(code) ? qbgl::encode(form, code, bytes) : 0;
        if (length > 0) result.push_back(Sequence({reinterpret_cast<char *>(bytes), static_cast<size_t>(length)}));
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::vector<Sequence> table_characters(const gl_cv &cd) {
    const auto form = static_cast<qbgl::UnicodeForm>(cd.source_form);
    std::vector<Sequence> result = form_characters(form);
    if (cd.convert == qbgl::unicode_source_miconv || cd.convert == qbgl::unicode_miconv) return result;
    const bool little_endian = cd.convert == qbgl::little_endian_unicode_source_miconv;
    for (const Sequence &bytes : sequences_of(*cd.main_table))
        if (cd.source_stateful == 0 || !is_shift(bytes)) result.push_back(little_endian ? bytes.reversed() : bytes);
    if (cd.source_stateful != 0)
        for (const Sequence &bytes : sequences_of(*cd.shifted_table))
            if (bytes.length == 2) result.push_back(in_shifts(bytes));
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

Repertoire repertoire_of(const Reference &source, const std::vector<Sequence> &table) { return Collector(source, table).collect(); }

} // namespace qbgl_test
