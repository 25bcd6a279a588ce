// Which codesets are installed.
#include "spec/name_list.h"
#include "spec/registry.h"
#include "unicode/form.h"

#include <stdlib.h>
#include <string.h>

using namespace qbgl;

namespace {

// A bit for each codeset number.
class NumberSet {
  public:
    void add(uint32_t number) { bits_[number >> 5] |= 1U << (number & 31); }
    bool has(uint32_t number) const { return (bits_[number >> 5] >> (number & 31) & 1) != 0; }

  private:
    uint32_t bits_[65536 / 32] = {};
};

// The value of a name that is `digits` hexadecimal digits and the suffix; false for any other.
bool read_object_name(const char *name, size_t digits, const char *suffix, uint32_t &value) {
    if (strspn(name, "0123456789abcdef") != digits || strcmp(name + digits, suffix) != 0) return false;
    value = static_cast<uint32_t>(strtoul(name, nullptr, 16));
    return true;
}

bool note_codesets(const char *, const char *name, void *data) {
    auto &found = *static_cast<NumberSet *>(data);
    uint32_t value;
    if (read_object_name(name, 4, ".cmo", value)) {
        found.add(value);
    } else if (read_object_name(name, 8, ".cvo", value)) {
        found.add(value >> 16);
        found.add(value & 0xFFFF);
    }
    return true;
}

bool gather_codesets(NameList &names) {
    NumberSet found;
    const auto look_into = [](const char *directory, void *data) { return visit_entries(directory, note_codesets, data); };
    visit_directories(GL_CM_DIRECTORY, GL_CM_VERSION, look_into, &found);
    visit_directories(GL_CV_DIRECTORY, GL_CV_VERSION, look_into, &found);
    const RegistrySnapshot registry;
    for (uint32_t number = 0; number < 65536; ++number) {
        // What the library converts by algorithm needs no file, but a name.
        const bool by_algorithm = unicode_form(static_cast<uint16_t>(number)) != UnicodeForm::NONE;
        if (!found.has(number) && !by_algorithm) continue;
        const char *const name = registry.name_of(static_cast<uint16_t>(number));
        if (!found.has(number) && name == nullptr) continue;
        char decimal[8];
        snprintf(decimal, sizeof decimal, "%u", number);
        if (!names.add(name != nullptr ? name : decimal)) return false;
    }
    return true;
}

} // namespace

int gl_codeset_count(void *ctx) { return take_stock(ctx, installed_codesets, gather_codesets); }

int gl_codeset_name(void *ctx, int index, char *out, int room) {
    return copy_name(ctx, installed_codesets, gather_codesets, index, out, room);
}
