// The map: what the extension serves, and what the codesets and locales of an installation are called in ICU.
#pragma once

#include "icu/host.h"

namespace qbgl::icu {

struct LocaleId;

// A list in the host's memory of what needs no destructor.
template <class T> class List {
  public:
    List() = default;
    List(const List &) = delete;
    List &operator=(const List &) = delete;
    ~List() { host.free(items_); }

    bool add(const T &item) {
        if (size_ == capacity_) {
            const uint32_t capacity = capacity_ == 0 ? 16 : 2 * capacity_;
            T *const items = static_cast<T *>(host.realloc(items_, capacity * static_cast<uint32_t>(sizeof(T))));
            if (items == nullptr) return false;
            items_ = items;
            capacity_ = capacity;
        }
        items_[size_++] = item;
        return true;
    }
    const T *begin() const { return items_; }
    const T *end() const { return items_ + size_; }

  private:
    T *items_ = nullptr;
    uint32_t size_ = 0, capacity_ = 0;
};

// A text of lines; "#" begins a comment. Of rules the first that matches decides; what none matches is not served. The lines are
//   codeset NUMBER ICU NAME...       a codeset, by its number and its names
//   locale NAME ICU                  a locale whose name ICU would not understand; NAME is PLACE or PLACE@MODIFIER
//   modifier NAME [KEYWORDS]         a modifier that locales may have, and what ICU gets for it, "collation=phonebook"
//   serve PATTERN CATEGORY...        of locales, "PLACE.CODESET" or "PLACE.CODESET@MODIFIER"; * stands for anything
//   leave PATTERN
//   convert SOURCE TARGET            of codesets, by their names or *
//   keep SOURCE TARGET               not to be converted
class Map {
  public:
    struct Codeset {
        int number;
        const char *icu;
        const char *name;             // the first of its names
        mutable uint64_t mapping = 0; // a hash of its characters of several bytes; 0 until somebody asked for it
    };
    struct Text {
        const char *name, *icu;
    };

    Map() = default;
    Map(const Map &) = delete;
    Map &operator=(const Map &) = delete;
    ~Map() { host.free(text_); }

    // Null with an error number; the log has the line.
    static Owned<Map> load(const char *path, int &status);
    // The one that the library has loaded last of those that it has, or null.
    static const Map *loaded();
    Map *older = nullptr; // which was loaded before

    bool serves(const LocaleId &id, int category) const;
    bool converts(int source, int target) const;
    const Codeset *codeset(int number) const;
    const Codeset *codeset(const char *name) const;
    const Text *locale(const char *name) const { return find(locales_, name); }
    const Text *modifier(const char *name) const { return find(modifiers_, name); }

  private:
    static constexpr int MOST_WORDS = 64;
    struct Words {
        char *word[MOST_WORDS];
        int count;
    };
    struct CodesetName {
        const char *name;
        int number;
    };
    struct LocaleRule {
        const char *pattern;
        unsigned categories; // a bit each
    };
    struct PairRule {
        const char *source, *target;
        bool converts;
    };

    static const Text *find(const List<Text> &list, const char *name);
    bool read(const char *path, int &status);
    int parse();
    int take_line(Words &words);
    int take_codeset(const Words &words);
    bool is_of(const char *pattern, const Codeset &codeset) const;

    char *text_ = nullptr; // in words, each with a NUL behind it
    List<Codeset> codesets_;
    List<CodesetName> names_;
    List<Text> locales_, modifiers_;
    List<LocaleRule> locale_rules_;
    List<PairRule> pair_rules_;
};

} // namespace qbgl::icu
