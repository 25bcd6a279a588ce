// The names of a charmap's characters, singly or as numbered ranges, and the ways to find them.
//
// Names and characters are gathered while the object is read; the indexes over them are built once at its end. A name, or a
// character, that is defined twice finds the later definition first, and a single one before a range.
#pragma once

#include "qbgl.h"

#include <string_view>

namespace qbgl {

inline constexpr int LONGEST_SYMBOL_NAME = 127;
// Where the numbers of a range outgrow the digits of its name, its names grow with them.
inline constexpr int LONGEST_RANGE_NAME = LONGEST_SYMBOL_NAME + 10;

// A list of plain values that grows as they come.
template <class T> struct SymbolList {
    T *items;
    uint32_t count, capacity;
};

struct StoredName {
    uint32_t place; // in the pool of names
    uint8_t length;
};

struct SingleSymbol {
    gl_desc character;
    StoredName name;
};

struct SymbolRange {
    gl_desc first;
    StoredName name; // of the first
    uint8_t digits;  // the run at the end of the name
    int32_t start;   // the number that it stands for; start + count fits
    uint32_t count;
    uint32_t group; // the first range of the same canonical name
};

// Chains of entries by hash; a place plus 1, 0 for none.
struct HashIndex {
    uint32_t *heads, *next;
    uint32_t mask; // of heads
};

// Ranges by where they begin. Those that hold a key end at the last one that begins at or before it and go back as far as `reach`,
// the furthest end up to there, lies behind the key.
struct Interval {
    uint64_t begin, reach;
    uint32_t range;
};

struct SymbolTable {
    SymbolList<char> pool;
    SymbolList<SingleSymbol> singles;
    SymbolList<SymbolRange> ranges; // in the order of the file
    HashIndex names, descriptors;   // of singles
    HashIndex canonical_names;      // of the first range of each group
    Interval *by_number, *by_value; // one for each range
};

// A name without the run of decimal digits at its end, and that run.
struct CanonicalName {
    std::string_view stem;
    int digits;
    uint32_t number; // at most UINT32_MAX, which no range holds
};
CanonicalName canonical_name(std::string_view name);

struct RangeName {
    char text[LONGEST_RANGE_NAME];
    int length;
    std::string_view view() const { return {text, static_cast<size_t>(length)}; }
};
// The name of a range's character.
RangeName calculate_name(const SymbolTable &table, const SymbolRange &range, uint32_t offset);

// Gathering. False when memory is out. Names have 1 to LONGEST_SYMBOL_NAME bytes.
bool symbol_table_insert_sing(SymbolTable &table, std::string_view name, const gl_desc &character);
bool symbol_table_insert_range(SymbolTable &table, std::string_view name, const gl_desc &first, int32_t start, uint32_t count);
// Ends gathering. False when memory is out.
bool index_symbol_table(SymbolTable &table);
void free_symbol_table(SymbolTable &table);

inline std::string_view name_of(const SymbolTable &table, const StoredName &name) {
    return {table.pool.items + name.place, name.length};
}

// A character of a range; a null range for none.
struct RangeMember {
    const SymbolRange *range;
    uint32_t offset;
};

const SingleSymbol *symbol_table_query_name(const SymbolTable &table, std::string_view name);
RangeMember symbol_table_query_name_range(const SymbolTable &table, std::string_view name);
const SingleSymbol *symbol_table_query_desc_sing(const SymbolTable &table, const gl_desc &character);
// The next definition of the same character, null after the last.
const SingleSymbol *next_of_desc(const SymbolTable &table, const SingleSymbol &symbol);
// The first range of the file, from the `from`-th on, that holds the character.
RangeMember symbol_table_query_desc_range(const SymbolTable &table, const gl_desc &character, uint32_t from = 0);
int count_ranges_of_desc(const SymbolTable &table, const gl_desc &character);
// The name of a character, empty for none. It stands in the pool or in `buffer`.
std::string_view symbol_table_query_desc(const SymbolTable &table, const gl_desc &character, RangeName &buffer);

} // namespace qbgl
