#include "oracle/tree_oracle.h"

#include "oracle/sample.h"

#include "system/parallel.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace qbgl_test {

namespace {

constexpr size_t REPORTED = 12; // differences of one locale

gl_locale *load(const TreeLocale &name) {
    gl_locale *loaded = nullptr;
    if (gl_lc_load(&loaded, name.spec.c_str(), nullptr, nullptr) != 0) ADD_FAILURE() << name.spec << ": error " << gl_errno(loaded);
    return loaded;
}

} // namespace

OracleLocale::OracleLocale(const TreeLocale &name, size_t index, const std::string &platforms, Differences &known)
    : name_(name), index_(index), ours_(load(name), gl_lc_unload), platforms_(platforms), known_(known) {}

OracleLocale::~OracleLocale() { EXPECT_EQ(unknown_, 0U) << name_.spec; }

void OracleLocale::report(const std::string &item, const std::string &kind, const std::string &ours, const std::string &theirs,
                          const std::string &shown, const std::string &codes) {
    const Difference difference = {name_.name, name_.codeset, codes, item, kind, ours, theirs, "platform"};
    if (!known_.covers(difference) && unknown_++ < REPORTED) ADD_FAILURE() << difference.text() << '\n' << shown;
}

TreeOracle::TreeOracle(const std::string &table) : known_(QBGL_SOURCE_DIR "/tests/oracle/" + table) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    if (locales_.empty()) throw std::runtime_error("no locales in " QBGL_TREE);
}

void TreeOracle::each(const Compare &compare, bool counted) {
    const size_t part = oracle_part();
    std::vector<size_t> indices;
    for (size_t i = 0; i < locales_.size(); i += part) indices.push_back(i);
    each(indices, compare);
    fmt::print("{} locales\n", indices.size());
    if (counted && part == 1) check_counts();
}

void TreeOracle::each(const std::vector<size_t> &indices, const Compare &compare) {
    qbgl::compiler::parallel_for(indices.size(), 2, [&](size_t i) {
        const TreeLocale &name = locales_[indices[i]];
        if (!PlatformLocales::has_charmap(name.charmap)) {
            EXPECT_EQ(name.charmap, "IBM932") << "no charmap"; // iconv's alone
            return;
        }
        OracleLocale locale(name, indices[i], platform_.compile(name.definition, name.charmap), known_);
        compare(locale);
    });
}

void TreeOracle::check_counts() const {
    for (const std::string &line : known_.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
}

} // namespace qbgl_test
