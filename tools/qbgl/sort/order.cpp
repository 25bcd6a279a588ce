#include "sort/order.h"

#include <algorithm>

namespace qbgl {

// Appends a key in such a way that no other one begins with it: a zero byte becomes 00 FF, and 00 00 ends the key. With all bits
// inverted the order is reversed.
void SortOrder::append(std::string_view key, bool reverse) {
    const size_t begin = key_.size();
    for (size_t at = 0; at < key.size();) {
        const size_t zero = std::min(key.find('\0', at), key.size());
        key_.append(key, at, zero - at);
        if (zero < key.size()) key_.append({'\0', '\xFF'});
        at = zero + 1;
    }
    key_.append(2, '\0');
    for (size_t i = begin; reverse && i < key_.size(); ++i) key_[i] = static_cast<char>(~key_[i]);
}

std::string_view SortOrder::key(std::string_view line) {
    key_.clear();
    for (const SortPart &part : rules_.parts) append(keys_.key(cutter_.cut(line, part)), part.reverse);
    return key_;
}

} // namespace qbgl
