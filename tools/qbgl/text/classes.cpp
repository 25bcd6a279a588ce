#include "text/classes.h"

#include <algorithm>
#include <array>

namespace qbgl {

namespace {

constexpr std::array<const char *, 11> STANDARD = {"upper", "lower", "alpha", "digit",  "space", "cntrl",
                                                   "punct", "graph", "print", "xdigit", "blank"};
constexpr int LONGEST_CHARACTER = 4;

// Tries all byte sequences, longer ones only behind bytes that begin a character.
class Enumeration {
  public:
    explicit Enumeration(const gl_multi *table) : table_(table) {}

    template <typename Visitor> void run(int length, const Visitor &visit) {
        for (int byte = 0; byte < 256; ++byte) {
            bytes_[length - 1] = static_cast<char>(byte);
            context_.error = 0;
            int examined = 0;
            const void *entry = _gl_retrieve_text_multi_limit(bytes_, table_, length, &examined, &context_);
            if (entry != nullptr)
                visit(length, *static_cast<const uint16_t *>(entry));
            else if (context_.error == GL_EINVAL && length < LONGEST_CHARACTER)
                run(length + 1, visit);
        }
    }

  private:
    const gl_multi *table_;
    char bytes_[LONGEST_CHARACTER] = {};
    struct {
        int32_t error;
    } context_ = {};
};

} // namespace

std::vector<CharacterClass> classes_of(gl_locale &locale) {
    std::vector<CharacterClass> result;
    result.reserve(std::size(STANDARD) + static_cast<size_t>(std::max(locale.ctype.class_count, 0)));
    for (const char *name : STANDARD) result.push_back({name, gl_ctype(&locale, name), false});
    for (int i = 0; i < locale.ctype.class_count; ++i) {
        const char *name = locale.ctype.class_list[i].name;
        result.push_back({name, gl_ctype(&locale, name), true});
    }
    return result;
}

Census count_characters(const gl_locale &locale, const std::vector<CharacterClass> &classes) {
    Census result;
    std::vector<uint64_t> by_mask_of_classes(1 << 16);
    Enumeration(locale.ctype.codeset_table).run(1, [&](int length, uint16_t mask) {
        const auto bytes = static_cast<uint64_t>(length);
        result.shortest = result.characters == 0 ? bytes : std::min(result.shortest, bytes);
        result.longest = std::max(result.longest, bytes);
        ++result.characters;
        ++by_mask_of_classes[mask];
    });
    result.members.resize(classes.size());
    for (unsigned mask = 0; mask < by_mask_of_classes.size(); ++mask) {
        for (size_t i = 0; i < classes.size(); ++i) {
            if ((mask & classes[i].mask) != 0) result.members[i] += by_mask_of_classes[mask];
        }
    }
    return result;
}

} // namespace qbgl
