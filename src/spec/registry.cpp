// Codeset numbers by name: from the cache when there is one, otherwise from the registry file, which each lookup then reads anew.
// The built-in table serves only after caching the file has failed.
#include "spec/registry.h"
#include "ext/error.h"
#include "spec/name_list.h"
#include "util/ascii.h"
#include "util/search.h"

#include <algorithm>
#include <string.h>
#include <utility>

namespace qbgl {

constinit RegistryEntry *vrn_registry_list_cache = nullptr;
constinit const CannedCodeset *vrn_registry_array_cache = nullptr;

namespace {

// Opened and closed by libc, not through the table.
class RegistryFile {
  public:
    RegistryFile(void *ctx, const char *path)
        : stream_(path != nullptr ? open_to_read(path, gl_reg_functions.open)
                                  : gl_path_search_no_ext(ctx, "registry", GL_CM_DIRECTORY, GL_CM_VERSION)) {}
    RegistryFile(const RegistryFile &) = delete;
    RegistryFile &operator=(const RegistryFile &) = delete;
    ~RegistryFile() {
        if (stream_ != nullptr) gl_reg_functions.close(stream_);
    }
    FILE *get() const { return stream_; }

  private:
    FILE *stream_;
};

class FoldedName {
  public:
    explicit FoldedName(std::string_view name) : length_(std::min<size_t>(name.size(), CODESET_NAME_MAX)) {
        std::transform(name.begin(), name.begin() + length_, text_, ascii::to_lower);
    }
    operator std::string_view() const { return {text_, length_}; }

  private:
    size_t length_;
    char text_[CODESET_NAME_MAX];
};

uint16_t find_in_list(const RegistryEntry *entry, std::string_view name) {
    while (entry != nullptr && entry->name != name) entry = entry->next;
    return entry != nullptr ? entry->number : static_cast<uint16_t>(GL_NO_CODESET);
}

uint16_t find_in_array(const CannedCodeset *row, std::string_view name) {
    while (row->name != nullptr && row->name != name) ++row;
    return static_cast<uint16_t>(row->name != nullptr ? row->number : GL_NO_CODESET);
}

// A name that is a decimal number below 65536 stands for itself.
bool read_decimal(std::string_view name, uint16_t &number) {
    uint32_t value = 0;
    for (const char c : name) {
        if (!ascii::is_digit(c)) return false;
        value = value * 10 + static_cast<uint32_t>(c - '0');
        if (value > UINT16_MAX) return false;
    }
    number = static_cast<uint16_t>(value);
    return !name.empty();
}

int cache_file(void *ctx, const char *path) {
    const RegistryFile file(ctx, path);
    if (file.get() == nullptr) return GL_ENODATA;
    return read_registry(file.get(), gl_reg_functions, vrn_registry_list_cache);
}

// In the caches, or else in a list.
uint16_t find_cached(const RegistryEntry *list, std::string_view name) {
    if (vrn_registry_list_cache != nullptr) return find_in_list(vrn_registry_list_cache, name);
    if (vrn_registry_array_cache != nullptr) return find_in_array(vrn_registry_array_cache, name);
    return find_in_list(list, name);
}

bool names_locale(std::string_view name) { return name == "c" || name == "posix"; }

} // namespace

RegistrySnapshot::RegistrySnapshot() {
    if (vrn_registry_list_cache != nullptr || vrn_registry_array_cache != nullptr) return;
    const RegistryFile file(nullptr, nullptr);
    if (file.get() != nullptr) read_registry(file.get(), gl_reg_functions, own_);
}

RegistrySnapshot::~RegistrySnapshot() { _gl_free_registry_list(own_); }

uint16_t RegistrySnapshot::number_of(std::string_view name) const {
    const FoldedName folded(name);
    uint16_t number = find_cached(own_, folded);
    if (number == GL_NO_CODESET) read_decimal(folded, number);
    return number;
}

const char *RegistrySnapshot::name_of(uint16_t number) const {
    const char *of_locale = nullptr;
    const auto is_name = [&](const char *name, uint32_t its_number) { // of several lines with one name the first counts
        return its_number == number && find_cached(own_, name) == number;
    };
    for (const CannedCodeset *row = vrn_registry_array_cache; row != nullptr && row->name != nullptr; ++row) {
        if (!is_name(row->name, row->number)) continue;
        if (!names_locale(row->name)) return row->name;
        of_locale = row->name;
    }
    for (const RegistryEntry *entry = vrn_registry_list_cache != nullptr ? vrn_registry_list_cache : own_; entry != nullptr;
         entry = entry->next) {
        if (!is_name(entry->name, entry->number)) continue;
        if (!names_locale(entry->name)) return entry->name;
        of_locale = entry->name;
    }
    return of_locale;
}

uint16_t codeset_number(void *ctx, std::string_view name, const char *registry_path) {
    const FoldedName folded(name);
    uint16_t number = GL_NO_CODESET;
    if (vrn_registry_list_cache != nullptr) {
        number = find_in_list(vrn_registry_list_cache, folded);
    } else if (vrn_registry_array_cache != nullptr) {
        number = find_in_array(vrn_registry_array_cache, folded);
    } else {
        const RegistryFile file(ctx, registry_path);
        if (file.get() == nullptr) {
            if (get_error(ctx) != GL_ENOMEM) set_error(ctx, GL_ENODATA);
            return GL_NO_CODESET;
        }
        if (const int error = find_in_registry(file.get(), folded, number)) {
            set_error(ctx, error);
            return GL_NO_CODESET;
        }
    }
    if (number != GL_NO_CODESET || read_decimal(folded, number)) return number;
    set_error(ctx, GL_EINVAL);
    return GL_NO_CODESET;
}

} // namespace qbgl

using namespace qbgl;

uint16_t gl_cs_name2cs_num(void *ctx, const char *name, const char *registry_path) {
    return codeset_number(ctx, name != nullptr ? name : "", registry_path);
}

int gl_cache_registry(void *ctx, const char *registry_path) {
    gl_free_registry_cache();
    const bool search = registry_path == nullptr || *registry_path == '\0';
    const int error = cache_file(ctx, search ? nullptr : registry_path);
    if (error == 0) return 0;
    set_error(ctx, error);
    vrn_registry_array_cache = vrn_canned_registry;
    return -1;
}

void gl_free_registry_cache(void) {
    installed_locales.names.free();
    installed_codesets.names.free();
    installed_locales.taken = installed_codesets.taken = false;
    _gl_free_registry_list(std::exchange(vrn_registry_list_cache, nullptr));
    vrn_registry_array_cache = nullptr;
}

int _gl_all_decimal_digits(const char *text) {
    const std::string_view digits = text != nullptr ? text : "";
    return !digits.empty() && std::all_of(digits.begin(), digits.end(), ascii::is_digit);
}
