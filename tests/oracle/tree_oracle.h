// What the oracles of locales share: the walk over the locales of the tree, each of them loaded beside the platform's, and the
// report of what no line of a table of differences covers.
#pragma once

#include "oracle/differences.h"
#include "oracle/platform_locale.h"
#include "oracle/tree_locales.h"

#include <qbgl.h>

#include <functional>
#include <memory>

namespace qbgl_test {

class OracleLocale {
  public:
    OracleLocale(const TreeLocale &name, size_t index, const std::string &platforms, Differences &known);
    ~OracleLocale(); // fails where something was reported

    const TreeLocale &name() const { return name_; }
    size_t index() const { return index_; } // in the tree
    gl_locale &ours() const { return *ours_; }
    const PlatformLocale &platforms() const { return platforms_; } // which is the thread's, too

    // A difference in an item, or in one for a character; `shown` says it to people. Bytes are told in hexadecimal.
    void report(const std::string &item, const std::string &kind, const std::string &ours, const std::string &theirs,
                const std::string &shown = "", const std::string &codes = "");

  private:
    const TreeLocale &name_;
    const size_t index_;
    const std::unique_ptr<gl_locale, void (*)(gl_locale *)> ours_;
    const PlatformLocale platforms_;
    Differences &known_;
    size_t unknown_ = 0;
};

class TreeOracle {
  public:
    explicit TreeOracle(const std::string &table); // a file of tests/oracle

    const std::vector<TreeLocale> &locales() const { return locales_; }
    using Compare = std::function<void(OracleLocale &)>;
    // The preset's share of the locales (sample.h), in two threads. With all of them the counts of the table have to be right,
    // unless the run takes more than the table is about.
    void each(const Compare &compare, bool counted = true);
    // These alone, by their indices.
    void each(const std::vector<size_t> &indices, const Compare &compare);
    void check_counts() const;

  private:
    const std::vector<TreeLocale> locales_ = tree_locales();
    const PlatformLocales platform_{QBGL_PLATFORM_LOCALES};
    Differences known_;
};

} // namespace qbgl_test
