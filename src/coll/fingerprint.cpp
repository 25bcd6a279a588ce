#include "coll/fingerprint.h"

#include "coll/rules.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"
#include "util/scratch.h"

#include <span>
#include <string.h>

using namespace qbgl;

namespace {

// Of a handle that has no rules yet.
constexpr char NO_ORDER[] = "0000000000000000";

// The 64-bit hash FNV-1a (RFC 9923), of numbers from their low byte on.
class Hash {
  public:
    void add(uint32_t value) {
        for (int i = 0; i < 4; ++i, value >>= 8) value_ = (value_ ^ (value & 0xFF)) * 0x100000001B3;
    }
    template <class T> void add(std::span<const T> values) {
        add(static_cast<uint32_t>(values.size()));
        for (const T &value : values) add(static_cast<uint32_t>(value));
    }
    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0xCBF29CE484222325;
};

// The characters below a node, with their rows or ranks.
void add_characters(Hash &hash, const gl_multi &table, const MultiNode &node, uint32_t leading) {
    for (uint32_t byte = 0; byte < 256; ++byte) {
        const auto at = static_cast<uint8_t>(byte);
        if (node.flags[at] == FLAG_CHILD) {
            add_characters(hash, table, *child_of(node, at), leading << 8 | byte);
        } else if (node.flags[at] == FLAG_END) {
            hash.add(leading << 8 | byte);
            hash.add(value_at(entry_of(table, node, at)));
        }
    }
}

template <class T> std::span<const T> list(const T *items, int32_t count) {
    return {items, items != nullptr ? static_cast<size_t>(count) : 0};
}

void add_rules(Hash &hash, const gl_collate_info &info) {
    hash.add(list(info.directions, info.pass_count));
    for (int32_t pass = 0; pass < info.pass_count; ++pass) hash.add(list(info.weights[pass], info.row_count + 1));
    for (const gl_expansion &expansion : list(info.expansions, info.expansion_count))
        hash.add(list(expansion.chars, expansion.count));
    for (const gl_collating_element &element : list(info.elements, info.element_count)) {
        hash.add(list(element.chars, element.count));
        hash.add(element.row);
    }
}

void tell(const Hash &hash, OrderDigits &digits) {
    snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash.value()));
}

} // namespace

void qbgl::fingerprint_of_rules(const gl_locale *locale, OrderDigits &digits) {
    const gl_collate_info &info = locale->collate;
    Hash hash;
    for (const int32_t number : {int32_t{KEY_FORMAT}, info.kind, info.direct, info.fifth_count, info.row_count})
        hash.add(static_cast<uint32_t>(number));
    const char *codeset = locale->codeset_name[GL_CAT_COLLATE];
    hash.add(std::span<const char>(codeset, strlen(codeset)));
    if (info.character_table != nullptr) add_characters(hash, *info.character_table, *info.character_table->root, 0);
    add_rules(hash, info);
    if (const gl_ranks &ranks = locale->ranks; ranks.row_count > 0) {
        hash.add(static_cast<uint32_t>(ranks.row_count));
        add_characters(hash, *ranks.table, *ranks.table->root, 0);
    }
    tell(hash, digits);
}

int qbgl::fingerprint_of_extension(const gl_locale *locale, OrderDigits &digits) {
    digits[0] = '\0';
    if (fn_glu_order_version == nullptr || fn_glu_order_compare == nullptr || fn_glu_order_key == nullptr) return 0;
    void *const handle = locale->glu_handle[GL_CAT_COLLATE];
    // The words take long to make: they are asked for a second time only where they need more room.
    int length = 1023;
    for (int attempt = 0; attempt < 2; ++attempt) {
        const int room = length + 1;
        const Scratch words(gl_ext_functions, static_cast<uint32_t>(room));
        if (words.text() == nullptr) return GL_ENOMEM;
        length = fn_glu_order_version(handle, words.text(), room);
        if (length < 1 || length == INT32_MAX) return GL_ELOADCAT;
        if (length >= room) continue;
        Hash hash;
        hash.add(KEY_FORMAT);
        hash.add(std::span<const char>(words.text(), static_cast<size_t>(length)));
        tell(hash, digits);
        return 0;
    }
    return GL_ELOADCAT;
}

const char *gl_order_fingerprint(gl_locale *locale) {
    if (served_by_extension(locale, GL_CAT_COLLATE) && locale->order_fingerprint[0] == '\0') {
        set_error(locale, GL_ENODATA);
        return nullptr;
    }
    return locale->order_fingerprint[0] != '\0' ? locale->order_fingerprint : NO_ORDER;
}
