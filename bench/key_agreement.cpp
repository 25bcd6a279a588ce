// Whether sort keys order texts as comparison does: random close pairs under every locale of a tree, through the entry points of
// the handle and as wide characters.
//
//   key_agreement TREE [PAIRS [SEED]]      a tree such as build/<preset>/quorbane; 10^7 pairs in all unless told otherwise
//
// Prints what disagrees, with locale and bytes, and counts; ends with 1 when anything did.
#include "multi/table.h"

#include "qbgl.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr size_t USUAL_LENGTH = 10, GREAT_LENGTH = 200; // the latter does not fit the buffers on the stack
constexpr size_t VARIATIONS = 7;                        // texts that follow from one, each from the one before
constexpr unsigned SHOWN = 5;                           // disagreements of a locale that are printed

class Random { // xorshift
  public:
    explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15 | 1) {}
    size_t below(size_t limit) {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<size_t>((state_ >> 32) * limit >> 32);
    }

  private:
    uint64_t state_;
};

struct Character {
    gl_wchar wide;
    uint8_t length;
};

using Text = std::vector<Character>;

std::string bytes_of(const Text &text) {
    std::string bytes;
    for (const Character &character : text)
        for (int i = character.length; i-- > 0;) bytes += static_cast<char>(character.wide >> 8 * i);
    return bytes;
}

void add_characters(Text &all, const qbgl::MultiNode &node, gl_wchar prefix, uint8_t length) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const gl_wchar wide = prefix << 8 | byte;
        if ((node.flags[byte] & qbgl::FLAG_CHILD) != 0)
            add_characters(all, *qbgl::child_of(node, static_cast<uint8_t>(byte)), wide, length + 1);
        else if ((node.flags[byte] & qbgl::FLAG_END) != 0 && wide != 0)
            all.push_back({wide, length});
    }
}

std::string key_of(gl_locale *locale, const std::string &text) {
    std::string key(static_cast<size_t>(std::max(gl_mbsxfrm(locale, nullptr, text.c_str(), 0), 0)), '\0');
    gl_mbsxfrm(locale, key.data(), text.c_str(), static_cast<int>(key.size()));
    return key;
}

// Makes texts that lie close together in a locale's order.
class Source {
  public:
    Source(gl_locale *locale, uint64_t seed) : locale_(locale), random_(seed) {
        add_characters(characters_, *locale->ctype.codeset_table->root, 0, 1);
        std::sort(characters_.begin(), characters_.end(), [](const auto &a, const auto &b) { return a.wide < b.wide; });
        std::vector<std::pair<std::string, size_t>> keys;
        for (size_t i = 0; i < characters_.size(); ++i) keys.emplace_back(key_of(locale, bytes_of({characters_[i]})), i);
        std::sort(keys.begin(), keys.end());
        places_.resize(characters_.size());
        for (const auto &[key, i] : keys) {
            places_[i] = in_order_.size();
            in_order_.push_back(characters_[i]);
        }
        const gl_collate_info &rules = locale->collate;
        for (int i = 0; i < rules.element_count; ++i) add_sequence(rules.elements[i].chars, rules.elements[i].count);
        for (int i = 0; i < rules.expansion_count; ++i) add_sequence(rules.expansions[i].chars, rules.expansions[i].count);
    }

    // The next text, from the one before.
    void step(Text &text) {
        if (step_++ % (VARIATIONS + 1) == 0)
            begin(text);
        else
            vary(text);
    }

  private:
    // Its index in characters_, whose size says that there is none.
    size_t find(gl_wchar wide) const {
        const auto less = [](const Character &character, gl_wchar value) { return character.wide < value; };
        const auto found = std::lower_bound(characters_.begin(), characters_.end(), wide, less);
        const bool same = found != characters_.end() && found->wide == wide;
        return same ? static_cast<size_t>(found - characters_.begin()) : characters_.size();
    }

    void add_sequence(const gl_wchar *wides, int count) {
        Text sequence;
        for (int i = 0; i < count; ++i)
            if (const size_t at = find(wides[i]); at < characters_.size()) sequence.push_back(characters_[at]);
        if (!sequence.empty()) sequences_.push_back(sequence);
    }

    // Mostly of one neighbourhood in the codeset, which is one script; and the beginning of the codeset, which all use.
    Character character() {
        constexpr size_t NEIGHBOURS = 96, BEGINNING = 400;
        switch (random_.below(4)) {
        case 0: return characters_[random_.below(std::min(BEGINNING, characters_.size()))];
        case 1: return characters_[random_.below(characters_.size())];
        default: return characters_[std::min(place_ + random_.below(NEIGHBOURS), characters_.size() - 1)];
        }
    }

    // One that sorts a little before or after: another case, another accent, or ignored as this one is.
    Character near(const Character &character) {
        constexpr size_t REACH = 6;
        const gl_wchar other = random_.below(2) == 0 ? gl_towupper(locale_, character.wide) : gl_towlower(locale_, character.wide);
        if (other != character.wide && random_.below(2) == 0)
            if (const size_t at = find(other); at < characters_.size()) return characters_[at];
        const size_t place = places_[find(character.wide)] + random_.below(2 * REACH + 1);
        return in_order_[std::clamp(place, REACH, in_order_.size() - 1 + REACH) - REACH];
    }

    void begin(Text &text) {
        place_ = random_.below(2) == 0 ? 0 : random_.below(characters_.size());
        const size_t length = 1 + random_.below(random_.below(256) == 0 ? GREAT_LENGTH : USUAL_LENGTH);
        text.clear();
        while (text.size() < length) append_some(text, text.size());
    }

    void append_some(Text &text, size_t at) {
        const auto place = text.begin() + static_cast<std::ptrdiff_t>(at);
        if (!sequences_.empty() && random_.below(4) == 0) {
            const Text &sequence = sequences_[random_.below(sequences_.size())];
            text.insert(place, sequence.begin(),
                        sequence.begin() + static_cast<std::ptrdiff_t>(1 + random_.below(sequence.size())));
        } else {
            text.insert(place, character());
        }
    }

    void vary(Text &text) {
        const size_t at = random_.below(text.size());
        const auto place = text.begin() + static_cast<std::ptrdiff_t>(at);
        switch (random_.below(8)) {
        case 0:
            if (text.size() < GREAT_LENGTH) append_some(text, at);
            break;
        case 1:
            if (text.size() < GREAT_LENGTH) append_some(text, text.size());
            break;
        case 2:
            if (text.size() > 1) text.erase(place);
            break;
        case 3: std::swap(text[at], text[random_.below(text.size())]); break;
        case 4: text.insert(place, *place); break;
        case 5: text.insert(place, near(*place)); break;
        default: *place = near(*place);
        }
    }

    gl_locale *locale_;
    Random random_;
    Text characters_, in_order_; // by code value, by the locale's order
    std::vector<size_t> places_; // in in_order_, of each of characters_
    std::vector<Text> sequences_;
    size_t step_ = 0, place_ = 0;
};

// A text in both forms, with its key.
struct Sample {
    Text text;
    std::string bytes, key, wide_key;
    std::vector<gl_wchar> wide;

    void set(gl_locale *locale) {
        bytes = bytes_of(text);
        wide.clear();
        for (const Character &character : text) wide.push_back(character.wide);
        wide.push_back(0);
        make_key(key, [&](char *out, int room) { return gl_mbsxfrm(locale, out, bytes.c_str(), room); });
        make_key(wide_key, [&](char *out, int room) { return gl_wcsxfrm(locale, out, wide.data(), room); });
    }

  private:
    template <class Make> static void make_key(std::string &key, Make make) {
        if (key.size() < 256) key.resize(256);
        int length = make(key.data(), static_cast<int>(key.size()));
        if (length > static_cast<int>(key.size())) {
            key.resize(static_cast<size_t>(length));
            length = make(key.data(), length);
        }
        key.resize(static_cast<size_t>(std::max(length, 0)));
    }
};

int sign(int order) { return (order > 0) - (order < 0); }

std::string hexadecimal(const std::string &bytes) {
    std::string text;
    char digits[4];
    for (const char byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

// Empty when all agree.
std::string disagreement(gl_locale *locale, const Sample &a, const Sample &b) {
    const int order = sign(gl_mbscoll(locale, a.bytes.c_str(), b.bytes.c_str()));
    const int wide_order = sign(gl_wcscoll(locale, a.wide.data(), b.wide.data()));
    const int key_order = sign(a.key.compare(b.key));
    const bool same_keys = a.key == a.wide_key && b.key == b.wide_key;
    if (order == key_order && wide_order == key_order && same_keys && locale->error == 0) return "";
    std::string text = hexadecimal(a.bytes) + " " + hexadecimal(b.bytes) + ": compared " + std::to_string(order) + ", wide " +
                       std::to_string(wide_order) + ", keys " + std::to_string(key_order);
    if (!same_keys) text += ", other keys of wide characters";
    if (locale->error != 0) text += ", error " + std::to_string(locale->error);
    return text;
}

struct Totals {
    std::mutex mutex;
    uint64_t pairs = 0, disagreements = 0, failures = 0;
};

gl_locale *load(const std::string &file) {
    gl_locale *locale = nullptr;
    if (file == "default.lco") return gl_createlocale_4(&locale) == 0 ? locale : nullptr;
    char place[6], number[6], modifier[5];
    if (gl_lc_fname2lc_pieces(nullptr, file.c_str(), place, number, modifier) != 0) return nullptr;
    const std::string spec = std::string(place) + "." + number + (modifier[0] != '\0' ? "@" : "") + modifier;
    return gl_lc_load(&locale, spec.c_str(), nullptr, nullptr) == 0 ? locale : nullptr;
}

void check(const std::string &file, uint64_t pairs, uint64_t seed, Totals &totals) {
    gl_locale *locale = load(file);
    if (locale == nullptr) {
        const std::lock_guard lock(totals.mutex);
        std::printf("%s: does not load\n", file.c_str());
        ++totals.failures;
        return;
    }
    Source source(locale, seed);
    locale->error = 0;
    Sample samples[2];
    uint64_t disagreements = 0;
    for (uint64_t i = 0; i <= pairs; ++i) {
        Sample &sample = samples[i % 2], &before = samples[1 - i % 2];
        sample.text = before.text;
        source.step(sample.text);
        sample.set(locale);
        const std::string text =
            i == 0 ? "" : disagreement(locale, i / 2 % 2 == 0 ? sample : before, i / 2 % 2 == 0 ? before : sample);
        locale->error = 0;
        if (text.empty() || ++disagreements > SHOWN) continue;
        const std::lock_guard lock(totals.mutex);
        std::printf("%s: %s\n", file.c_str(), text.c_str());
    }
    gl_lc_unload(locale);
    const std::lock_guard lock(totals.mutex);
    if (disagreements > 0) std::printf("%s: %llu pairs disagree\n", file.c_str(), static_cast<unsigned long long>(disagreements));
    totals.pairs += pairs;
    totals.disagreements += disagreements;
}

std::vector<std::string> objects_of(const fs::path &directory) {
    std::vector<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(directory))
        if (entry.path().extension() == ".lco") files.push_back(entry.path().lexically_relative(directory).string());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "key_agreement TREE [PAIRS [SEED]]\n");
        return 2;
    }
    setenv("QUORBANEDIR", argv[1], 1);
    gl_cache_registry(nullptr, nullptr);
    const std::vector<std::string> files = objects_of(fs::path(argv[1]) / "vrn" / "lc11");
    const uint64_t pairs = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 10'000'000;
    const uint64_t seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    Totals totals;
    std::atomic<size_t> next = 0;
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < std::max(std::thread::hardware_concurrency(), 1u); ++i)
        workers.emplace_back([&] {
            for (size_t file; (file = next++) < files.size();)
                check(files[file], (pairs + files.size() - 1) / files.size(), seed * files.size() + file, totals);
        });
    for (std::thread &worker : workers) worker.join();
    std::printf("%zu locales, %llu pairs, %llu disagree\n", files.size(), static_cast<unsigned long long>(totals.pairs),
                static_cast<unsigned long long>(totals.disagreements));
    return totals.disagreements + totals.failures != 0 || files.empty() ? 1 : 0;
}
