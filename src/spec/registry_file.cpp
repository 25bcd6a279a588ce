// Reading the registry file. It is a sequence of tokens, not of lines: a number may stand on the line after its name, and a "#"
// opens a comment only where a name is expected.
#include "spec/registry.h"
#include "util/ascii.h"

#include <stdlib.h>
#include <string.h>
#include <utility>

namespace qbgl {

namespace {

int first_after_space(FILE *stream) {
    int byte = getc_unlocked(stream);
    while (ascii::is_space(byte)) byte = getc_unlocked(stream);
    return byte;
}

void free_list(RegistryEntry *list, void (*release)(void *)) {
    while (list != nullptr) {
        RegistryEntry *next = list->next;
        release(list->name);
        release(list);
        list = next;
    }
}

class RegistryList {
  public:
    explicit RegistryList(const gl_file_functions &memory) : memory_(memory) {}
    RegistryList(const RegistryList &) = delete;
    RegistryList &operator=(const RegistryList &) = delete;
    ~RegistryList() { free_list(head_, memory_.free); }

    // The new last entry, or null when memory is out.
    RegistryEntry *append(const char *name) {
        auto *entry = static_cast<RegistryEntry *>(memory_.alloc(sizeof(RegistryEntry)));
        if (entry == nullptr) return nullptr;
        auto *copy = static_cast<char *>(memory_.alloc(CODESET_NAME_MAX + 1));
        if (copy == nullptr) {
            memory_.free(entry);
            return nullptr;
        }
        strncpy(copy, name, CODESET_NAME_MAX + 1);
        *entry = {copy, GL_NO_CODESET, nullptr};
        *tail_ = entry;
        tail_ = &entry->next;
        return entry;
    }
    RegistryEntry *release() { return std::exchange(head_, nullptr); }

  private:
    const gl_file_functions &memory_;
    RegistryEntry *head_ = nullptr;
    RegistryEntry **tail_ = &head_;
};

} // namespace

int ignore_till_eol(FILE *stream) {
    int byte = getc_unlocked(stream);
    while (byte != '\n' && byte != EOF) byte = getc_unlocked(stream);
    return byte == '\n';
}

int find_in_registry(FILE *stream, std::string_view name, uint16_t &number) {
    number = GL_NO_CODESET;
    char read[CODESET_NAME_MAX + 1];
    while (_gl_next_cs_name_from_registry(stream, read, sizeof read)) {
        if (read == name) {
            number = _gl_next_cs_number_from_registry(nullptr, stream);
            return number == GL_NO_CODESET ? GL_EBADFILE : 0;
        }
        if (!ignore_till_eol(stream)) return GL_EBADFILE;
    }
    return ferror(stream) ? GL_EBADFILE : 0;
}

int read_registry(FILE *stream, const gl_file_functions &memory, RegistryEntry *&head) {
    RegistryList list(memory);
    char name[CODESET_NAME_MAX + 1];
    while (_gl_next_cs_name_from_registry(stream, name, sizeof name)) {
        RegistryEntry *entry = list.append(name);
        if (entry == nullptr) return GL_ENOMEM;
        entry->number = _gl_next_cs_number_from_registry(nullptr, stream);
        if (entry->number == GL_NO_CODESET) return GL_EBADFILE;
        if (!ignore_till_eol(stream)) break;
    }
    if (ferror(stream)) return GL_EBADFILE;
    head = list.release();
    return 0;
}

void _gl_free_registry_list(RegistryEntry *list) { free_list(list, free); }

} // namespace qbgl

using namespace qbgl;

int _gl_next_cs_name_from_registry(FILE *stream, char *buffer, int size) {
    int byte = first_after_space(stream);
    while (byte == '#') {
        if (!ignore_till_eol(stream)) return 0;
        byte = first_after_space(stream);
    }
    int length = 0;
    for (; ascii::is_graph(byte); byte = getc_unlocked(stream)) {
        if (length + 1 >= size) return 0;
        buffer[length++] = ascii::to_lower(static_cast<char>(byte));
    }
    if (byte == EOF || size < 1) return 0;
    buffer[length] = '\0';
    return 1;
}

uint16_t _gl_next_cs_number_from_registry(void *, FILE *stream) {
    int byte = first_after_space(stream);
    const bool has_digits = ascii::is_digit(byte);
    uint16_t number = 0;
    for (; ascii::is_digit(byte); byte = getc_unlocked(stream)) number = static_cast<uint16_t>(number * 10 + (byte - '0'));
    if (byte == EOF) return GL_NO_CODESET;
    ungetc(byte, stream);
    return has_digits ? number : static_cast<uint16_t>(GL_NO_CODESET);
}
