// Lists of the names of what is installed, and the directories that they are made from. Like the registry's cache they belong to
// the process and are libc's memory, whatever the host has put into the table.
#pragma once

#include "qbgl.h"

#include <stddef.h>

namespace qbgl {

// Names of up to 63 bytes.
class NameList {
  public:
    static constexpr size_t SIZE = 64;

    // False when memory is out. A longer name is cut.
    bool add(const char *name);
    // Sorts the names by their bytes and drops what stands twice.
    void sort();
    void free();

    int size() const { return size_; }
    const char *operator[](int i) const { return names_[i]; }

  private:
    using Name = char[SIZE];

    Name *names_ = nullptr;
    int size_ = 0, capacity_ = 0;
};

struct Stock {
    NameList names;
    bool taken; // also of an empty list
};

extern Stock installed_locales, installed_codesets;

// Makes a list anew. `gather` adds the names; false when memory is out. The number of names, or -1 with GL_ENOMEM.
int take_stock(void *ctx, Stock &stock, bool (*gather)(NameList &));
// Copies a name out of a list, which is made when it is not there: the doors gl_..._name.
int copy_name(void *ctx, Stock &stock, bool (*gather)(NameList &), int index, char *out, int room);

// Calls `visit` with each directory that a search for objects of a kind looks into, until it returns false; then the result is
// false, too. A directory of more than 4095 bytes is passed over.
bool visit_directories(const char *subdirectory, const char *version, bool (*visit)(const char *directory, void *data), void *data);
// The same for what a directory holds.
bool visit_entries(const char *directory, bool (*visit)(const char *directory, const char *name, void *data), void *data);

} // namespace qbgl
