#include "syms/symbol_table.h"

#include "util/ascii.h"
#include "util/growing.h"

#include <algorithm>
#include <bit>
#include <string.h>

namespace qbgl {

namespace {

// Room for `more` further items.
template <class T> bool reserve(SymbolList<T> &list, uint32_t more) {
    if (more <= list.capacity - list.count) return true;
    const uint32_t capacity = larger_capacity(list.capacity, uint64_t{list.count} + more);
    if (capacity == 0 || !enlarge(list.items, list.count, capacity)) return false;
    list.capacity = capacity;
    return true;
}

StoredName keep_name(SymbolTable &table, std::string_view name) {
    const StoredName kept{table.pool.count, static_cast<uint8_t>(name.size())};
    memcpy(table.pool.items + kept.place, name.data(), name.size());
    table.pool.count += static_cast<uint32_t>(name.size());
    return kept;
}

bool make_index(HashIndex &index, uint32_t entries) {
    const uint32_t size = std::bit_ceil(std::max<uint32_t>(entries, 1));
    index.heads = Owned<uint32_t>::allocate(size).release();
    index.next = Owned<uint32_t>::allocate(std::max<uint32_t>(entries, 1)).release();
    if (index.heads == nullptr || index.next == nullptr) return false;
    memset(index.heads, 0, size * sizeof *index.heads);
    index.mask = size - 1;
    return true;
}

// In front of its chain.
void insert(HashIndex &index, uint32_t hash, uint32_t entry) {
    uint32_t &head = index.heads[hash & index.mask];
    index.next[entry] = head;
    head = entry + 1;
}

// The first entry from `place` (plus 1) on that fits, or 0.
template <class Fits> uint32_t find_from(const HashIndex &index, uint32_t place, Fits fits) {
    while (place != 0 && !fits(place - 1)) place = index.next[place - 1];
    return place;
}
template <class Fits> uint32_t find(const HashIndex &index, uint32_t hash, Fits fits) {
    return index.heads != nullptr ? find_from(index, index.heads[hash & index.mask], fits) : 0;
}

uint32_t hash_string(std::string_view name) {
    uint32_t hash = 2166136261;
    for (const char c : name) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619;
    return hash ^ hash >> 15;
}

uint32_t hash_desc(const gl_desc &character) {
    const uint32_t hash = (_gl_desc_to_gl_wchar(&character) + character.count) * 2654435769U;
    return hash >> 16 | hash << 16;
}

uint32_t hash_canonical(const CanonicalName &name) { return hash_string(name.stem) + static_cast<uint32_t>(name.digits); }

uint64_t number_key(uint32_t group, uint32_t number) { return uint64_t{group} << 32 | number; }

const SymbolRange *first_of_group(const SymbolTable &table, const CanonicalName &name) {
    const uint32_t place = find(table.canonical_names, hash_canonical(name), [&](uint32_t i) {
        const CanonicalName other = canonical_name(name_of(table, table.ranges.items[i].name));
        return other.digits == name.digits && other.stem == name.stem;
    });
    return place != 0 ? &table.ranges.items[place - 1] : nullptr;
}

// Files a range under its canonical name.
void symbol_table_insert_name_range(SymbolTable &table, uint32_t i) {
    SymbolRange &range = table.ranges.items[i];
    const CanonicalName name = canonical_name(name_of(table, range.name));
    const SymbolRange *first = first_of_group(table, name);
    range.group = first != nullptr ? first->group : i;
    if (first == nullptr) insert(table.canonical_names, hash_canonical(name), i);
    const uint64_t begin = number_key(range.group, static_cast<uint32_t>(range.start));
    table.by_number[i] = {begin, begin + range.count, i};
}

// Files a range under its characters.
void symbol_table_insert_desc_range(SymbolTable &table, uint32_t i) {
    const SymbolRange &range = table.ranges.items[i];
    const uint64_t begin = _gl_desc_to_gl_wchar(&range.first);
    table.by_value[i] = {begin, begin + range.count, i};
}

void order(Interval *intervals, uint32_t count) {
    const auto before = [](const Interval &a, const Interval &b) {
        return a.begin != b.begin ? a.begin < b.begin : a.range < b.range;
    };
    if (!std::is_sorted(intervals, intervals + count, before)) std::sort(intervals, intervals + count, before);
    for (uint32_t i = 1; i < count; ++i) intervals[i].reach = std::max(intervals[i].reach, intervals[i - 1].reach);
}

// Calls with every range that may hold the key; they begin at or before it.
template <class Function> void for_each_near(const Interval *intervals, uint32_t count, uint64_t key, Function function) {
    const Interval *at = std::upper_bound(intervals, intervals + count, key,
                                          [](uint64_t wanted, const Interval &interval) { return wanted < interval.begin; });
    while (at != intervals && (--at)->reach > key) function(at->range, key - at->begin);
}

template <class Function> void for_each_range_of_desc(const SymbolTable &table, const gl_desc &character, Function function) {
    const auto call_with_member = [&](uint32_t i, uint64_t offset) {
        if (offset < table.ranges.items[i].count) function(i, static_cast<uint32_t>(offset));
    };
    for_each_near(table.by_value, table.ranges.count, _gl_desc_to_gl_wchar(&character), call_with_member);
}

void free_index(HashIndex &index) {
    _gl_free_ptr(index.heads);
    _gl_free_ptr(index.next);
}

} // namespace

CanonicalName canonical_name(std::string_view name) {
    size_t stem = name.size();
    while (stem > 0 && ascii::is_digit(name[stem - 1])) --stem;
    uint64_t number = 0;
    for (size_t i = stem; i < name.size(); ++i)
        number = std::min<uint64_t>(number * 10 + static_cast<unsigned>(name[i] - '0'), UINT32_MAX);
    return {{name.data(), stem}, static_cast<int>(name.size() - stem), static_cast<uint32_t>(number)};
}

RangeName calculate_name(const SymbolTable &table, const SymbolRange &range, uint32_t offset) {
    RangeName name;
    const int stem = range.name.length - range.digits;
    memcpy(name.text, table.pool.items + range.name.place, static_cast<size_t>(stem));
    int digits = 0;
    const uint32_t number = static_cast<uint32_t>(range.start) + offset;
    for (uint32_t rest = number; rest > 0; rest /= 10) ++digits;
    digits = std::max<int>(digits, range.digits);
    name.length = stem + digits;
    uint32_t rest = number;
    for (int i = name.length - 1; i >= stem; --i, rest /= 10) name.text[i] = static_cast<char>('0' + rest % 10);
    return name;
}

bool symbol_table_insert_sing(SymbolTable &table, std::string_view name, const gl_desc &character) {
    if (!reserve(table.pool, static_cast<uint32_t>(name.size())) || !reserve(table.singles, 1)) return false;
    table.singles.items[table.singles.count++] = {character, keep_name(table, name)};
    return true;
}

bool symbol_table_insert_range(SymbolTable &table, std::string_view name, const gl_desc &first, int32_t start, uint32_t count) {
    if (!reserve(table.pool, static_cast<uint32_t>(name.size())) || !reserve(table.ranges, 1)) return false;
    const auto digits = static_cast<uint8_t>(canonical_name(name).digits);
    table.ranges.items[table.ranges.count++] = {first, keep_name(table, name), digits, start, count, 0};
    return true;
}

bool index_symbol_table(SymbolTable &table) {
    const uint32_t singles = table.singles.count, ranges = table.ranges.count;
    if (!make_index(table.names, singles) || !make_index(table.descriptors, singles)) return false;
    for (uint32_t i = 0; i < singles; ++i) {
        insert(table.names, hash_string(name_of(table, table.singles.items[i].name)), i);
        insert(table.descriptors, hash_desc(table.singles.items[i].character), i);
    }
    if (ranges == 0) return true;
    table.by_number = Owned<Interval>::allocate(ranges).release();
    table.by_value = Owned<Interval>::allocate(ranges).release();
    if (table.by_number == nullptr || table.by_value == nullptr || !make_index(table.canonical_names, ranges)) return false;
    for (uint32_t i = 0; i < ranges; ++i) {
        symbol_table_insert_name_range(table, i);
        symbol_table_insert_desc_range(table, i);
    }
    order(table.by_number, ranges);
    order(table.by_value, ranges);
    return true;
}

void free_symbol_table(SymbolTable &table) {
    _gl_free_ptr(table.pool.items);
    _gl_free_ptr(table.singles.items);
    _gl_free_ptr(table.ranges.items);
    free_index(table.names);
    free_index(table.descriptors);
    free_index(table.canonical_names);
    _gl_free_ptr(table.by_number);
    _gl_free_ptr(table.by_value);
    table = {};
}

const SingleSymbol *symbol_table_query_name(const SymbolTable &table, std::string_view name) {
    const uint32_t place =
        find(table.names, hash_string(name), [&](uint32_t i) { return name_of(table, table.singles.items[i].name) == name; });
    return place != 0 ? &table.singles.items[place - 1] : nullptr;
}

RangeMember symbol_table_query_name_range(const SymbolTable &table, std::string_view name) {
    RangeMember found{};
    const CanonicalName canonical = canonical_name(name);
    const SymbolRange *first = first_of_group(table, canonical);
    if (first == nullptr) return found;
    const auto take_latest = [&](uint32_t i, uint64_t offset) {
        const SymbolRange *range = &table.ranges.items[i];
        if (offset < range->count && range > found.range) found = {range, static_cast<uint32_t>(offset)};
    };
    for_each_near(table.by_number, table.ranges.count, number_key(first->group, canonical.number), take_latest);
    return found;
}

const SingleSymbol *symbol_table_query_desc_sing(const SymbolTable &table, const gl_desc &character) {
    const uint32_t place = find(table.descriptors, hash_desc(character),
                                [&](uint32_t i) { return _gl_desc_eq(&table.singles.items[i].character, &character) != 0; });
    return place != 0 ? &table.singles.items[place - 1] : nullptr;
}

const SingleSymbol *next_of_desc(const SymbolTable &table, const SingleSymbol &symbol) {
    const auto own = static_cast<uint32_t>(&symbol - table.singles.items);
    const uint32_t place = find_from(table.descriptors, table.descriptors.next[own], [&](uint32_t i) {
        return _gl_desc_eq(&table.singles.items[i].character, &symbol.character) != 0;
    });
    return place != 0 ? &table.singles.items[place - 1] : nullptr;
}

RangeMember symbol_table_query_desc_range(const SymbolTable &table, const gl_desc &character, uint32_t from) {
    RangeMember found{};
    for_each_range_of_desc(table, character, [&](uint32_t i, uint32_t offset) {
        const SymbolRange *range = &table.ranges.items[i];
        if (i >= from && (found.range == nullptr || range < found.range)) found = {range, offset};
    });
    return found;
}

int count_ranges_of_desc(const SymbolTable &table, const gl_desc &character) {
    int count = 0;
    for_each_range_of_desc(table, character, [&](uint32_t, uint32_t) { ++count; });
    return count;
}

std::string_view symbol_table_query_desc(const SymbolTable &table, const gl_desc &character, RangeName &buffer) {
    if (const SingleSymbol *single = symbol_table_query_desc_sing(table, character)) return name_of(table, single->name);
    const RangeMember member = symbol_table_query_desc_range(table, character);
    if (member.range == nullptr) return {};
    buffer = calculate_name(table, *member.range, member.offset);
    return buffer.view();
}

} // namespace qbgl
